#include "network.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

constexpr char kInside[] = "PELORIN_OWN_NETWORK";
constexpr char kGroup[] = "239.255.255.250";
constexpr std::uint16_t kPort = 3702;

void Check(bool done, const std::string& what)
{
    if (!done)
        throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in Address(const std::string& address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    Check(inet_pton(AF_INET, address.c_str(), &result.sin_addr) == 1, address);
    return result;
}

const sockaddr* Generic(const sockaddr_in& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

void EnterOwnNetwork(const std::vector<std::string>& arguments)
{
    if (std::getenv(kInside))
        return;
    setenv(kInside, "1", 1);
    std::vector<std::string> command{"unshare", "--net"};
    if (geteuid() != 0)
        command.insert(command.end(), {"--user", "--map-root-user"});
    command.push_back(std::filesystem::read_symlink("/proc/self/exe"));
    command.insert(command.end(), arguments.begin() + 1, arguments.end());
    std::vector<char*> pointers;
    for (std::string& each : command)
        pointers.push_back(each.data());
    pointers.push_back(nullptr);
    execvp("unshare", pointers.data());
    std::perror("network tests need unshare(1)");
    std::exit(1);
}

Network::Network()
{
    std::thread([this] {
        Check(unshare(CLONE_NEWNET) == 0, "unshare");
        prober = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    }).join();
    const std::string there = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(prober);
    Run("ip link set lo up");
    for (const std::string cable : {"0", "1"}) {
        const std::string net = cable == "0" ? "7" : "8";
        Run("ip link add cam" + cable + " address 02:00:00:00:0" + net +
            ":01 type veth peer name eye" + cable + " netns " + there);
        Run("ip addr add 10." + net + ".0.1/24 dev cam" + cable + "; ip link set cam" + cable +
            " up");
        RunAsProber("ip addr add 10." + net + ".0.2/24 dev eye" + cable + "; ip link set eye" +
                    cable + " up");
    }
}

Network::~Network()
{
    std::system("ip link del cam0; ip link del cam1; nft flush ruleset");
    close(prober);
}

void Network::Run(const std::string& command) const
{
    if (std::system(("set -e; " + command).c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

void Network::AsProber(const std::function<void()>& work) const
{
    std::thread([&] {
        Check(setns(prober, CLONE_NEWNET) == 0, "setns");
        work();
    }).join();
}

void Network::RunAsProber(const std::string& command) const
{
    AsProber([&] { Run(command); });
}

Socket::Socket(const std::string& device, const std::string& address, std::uint16_t port)
    : descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    const ip_mreqn group{Address(kGroup, 0).sin_addr, Address(address, 0).sin_addr, 0};
    const sockaddr_in own = Address(port == kPort ? "0.0.0.0" : address, port);
    Check(setsockopt(descriptor, SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                     static_cast<socklen_t>(device.size())) == 0,
          device);
    Check(bind(descriptor, Generic(own), sizeof(own)) == 0, "bind");
    if (port == kPort)
        Check(setsockopt(descriptor, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof(group)) == 0,
              "join");
}

Socket::~Socket()
{
    close(descriptor);
}

void Socket::Send(const std::string& text, const std::string& address) const
{
    const sockaddr_in destination = Address(address, kPort);
    sendto(descriptor, text.data(), text.size(), 0, Generic(destination), sizeof(destination));
}

std::optional<Datagram> Socket::Receive(std::chrono::milliseconds bound) const
{
    pollfd readable{descriptor, POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(bound.count())) <= 0)
        return std::nullopt;
    std::string text(65536, '\0');
    sockaddr_in source{};
    socklen_t size = sizeof(source);
    const ssize_t length = recvfrom(descriptor, text.data(), text.size(), 0,
                                    reinterpret_cast<sockaddr*>(&source), &size);
    Check(length >= 0, "recvfrom");
    text.resize(static_cast<std::size_t>(length));
    char address[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &source.sin_addr, address, sizeof(address));
    return Datagram{text, std::string(address) + ":" + std::to_string(ntohs(source.sin_port))};
}

std::vector<Datagram> Socket::ReceiveAll(const std::string& text,
                                         std::chrono::milliseconds bound) const
{
    using std::chrono::steady_clock;
    std::vector<Datagram> found;
    const auto end = steady_clock::now() + bound;
    while (steady_clock::now() < end) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
        const std::optional<Datagram> datagram = Receive(left);
        if (datagram && datagram->text.find(text) != std::string::npos)
            found.push_back(*datagram);
    }
    return found;
}

std::uint16_t Socket::Port() const
{
    sockaddr_in own{};
    socklen_t size = sizeof(own);
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &size);
    return ntohs(own.sin_port);
}

std::string Probe(const std::string& messageId, const std::string& types)
{
    return "<s:Envelope xmlns:s='http://www.w3.org/2003/05/soap-envelope'"
           " xmlns:a='http://schemas.xmlsoap.org/ws/2004/08/addressing'"
           " xmlns:d='http://schemas.xmlsoap.org/ws/2005/04/discovery'"
           " xmlns:ktz='http://schemas.ktzkx.example/discovery'><s:Header>"
           "<a:Action>http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe</"
           "a:Action><a:MessageID>" +
           messageId + "</a:MessageID></s:Header><s:Body><d:Probe><d:Types>" + types +
           "</d:Types></d:Probe></s:Body></s:Envelope>";
}
