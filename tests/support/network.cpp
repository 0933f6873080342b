#include "network.h"

#include "data.h"
#include "discovery_group.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/multicast.hpp>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using kx::Compose;

namespace {

void ThrowUnless(bool done, const char* what)
{
    if (!done)
        throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

void EnterOwnNetwork(const std::vector<std::string>& arguments)
{
    const char* const own = std::getenv("PELORIN_NETWORK");
    if (own && own == std::filesystem::read_symlink("/proc/self/ns/net"))
        return;
    std::vector<std::string> command{PELORIN_OWN_NETWORK,
                                     std::filesystem::read_symlink("/proc/self/exe")};
    command.insert(command.end(), arguments.begin() + 1, arguments.end());
    std::vector<char*> pointers;
    for (std::string& each : command)
        pointers.push_back(each.data());
    pointers.push_back(nullptr);
    ThrowUnless(execv(PELORIN_OWN_NETWORK, pointers.data()) == 0, PELORIN_OWN_NETWORK);
}

Network::Network()
{
    std::thread([this] {
        ThrowUnless(unshare(CLONE_NEWNET) == 0, "unshare");
        prober = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    }).join();
    // Removes the adapters and firewall rules of the previous test: a program that is started by
    // hand, not by CTest, runs all its tests in one process.
    Run("for each in cam0 cam1 cam9; do ip link del $each 2>/dev/null || true; done;"
        "nft flush ruleset");
    for (int cable = 0; cable < 2; ++cable) {
        const int net = 7 + cable;
        Run(Compose("ip link add cam", cable, " address 02:00:00:00:0", net,
                    ":01 type veth peer name eye", cable, " netns /proc/", getpid(), "/fd/", prober,
                    "; ip addr add 10.", net, ".0.1/24 dev cam", cable, "; ip link set cam", cable,
                    " up"));
        AsProber([&] {
            Run(Compose("ip addr add 10.", net, ".0.2/24 dev eye", cable, "; ip link set eye",
                        cable, " up"));
        });
    }
}

void Network::Run(const std::string& command)
{
    if (std::system(("set -e; " + command).c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

void Network::Drop(const std::string& hook, const std::string& match)
{
    Run("nft add table ip t; nft add chain ip t c '{ type filter hook " + hook +
        " priority 0; }'; nft add rule ip t c " + match + " drop");
}

void Network::AsProber(const std::function<void()>& work) const
{
    std::thread([&] {
        ThrowUnless(setns(prober, CLONE_NEWNET) == 0, "setns");
        work();
    }).join();
}

Socket::Socket(const std::string& device, const std::string& address, std::uint16_t port)
    : socket(service, udp::v4())
{
    ThrowUnless(setsockopt(socket.native_handle(), SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                           static_cast<socklen_t>(device.size())) == 0,
                device.c_str());
    const bool member = port == kx::kDiscoveryPort;
    socket.bind({make_address_v4(member ? "0.0.0.0" : address), port});
    if (member) {
        socket.set_option(boost::asio::ip::multicast::join_group(
            make_address_v4(kx::kMulticastGroup), make_address_v4(address)));
    }
}

void Socket::Send(const std::string& text, const std::string& address)
{
    // To a test, a datagram that was not sent is like one that was lost.
    boost::system::error_code ignored;
    socket.send_to(boost::asio::buffer(text), {make_address_v4(address), kx::kDiscoveryPort}, 0,
                   ignored);
}

std::optional<Datagram> Socket::Receive(std::chrono::milliseconds bound)
{
    pollfd readable{socket.native_handle(), POLLIN, 0};
    // Not below 0: poll(2) would wait forever. ReceiveAll passes less if its bound has just passed.
    if (poll(&readable, 1, std::max(0, static_cast<int>(bound.count()))) <= 0)
        return std::nullopt;
    std::string text(65536, '\0');
    udp::endpoint source;
    text.resize(socket.receive_from(boost::asio::buffer(text), source));
    return Datagram{text, Compose(source)};
}

std::vector<Datagram> Socket::ReceiveAll(const std::string& text, std::chrono::milliseconds bound)
{
    using std::chrono::steady_clock;
    std::vector<Datagram> found;
    const auto end = steady_clock::now() + bound;
    while (steady_clock::now() < end) {
        const auto datagram = Receive(
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()));
        if (datagram && datagram->text.find(text) != std::string::npos)
            found.push_back(*datagram);
    }
    return found;
}

std::string Socket::Name() const
{
    return Compose(socket.local_endpoint());
}

std::string Probe(const std::string& messageId, const std::string& types)
{
    std::string probe = ReadData("probe.xml");
    probe.replace(probe.find('*'), 1, messageId);
    return probe.replace(probe.find('*'), 1, types);
}
