#include "message_socket.h"

#include "discovery_group.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/system/system_error.hpp>

#include <arpa/inet.h>
#include <cerrno>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;
using boost::system::system_error;

namespace kx::tools {
namespace {

/// Bytes requested for the receive buffer. The kernel doubles them (socket(7)) and counts about
/// 2,300 for a recorder's answer: room for nearly 30,000 answers.
constexpr int kReceiveBufferSize = 32 * 1024 * 1024;

constexpr char kCannotProbe[] = "cannot probe";
constexpr char kSendAdvice[] = "; see that it is up and that a firewall lets UDP port 3702 out";
constexpr char kCannotListen[] = "cannot listen for announcements";

template <class Value>
bool SetOption(udp::socket& socket, int level, int name, const Value& value)
{
    return setsockopt(socket.native_handle(), level, name, &value, sizeof(value)) == 0;
}

template <class Value>
void RequireOption(udp::socket& socket, int level, int name, const Value& value)
{
    if (!SetOption(socket, level, name, value))
        throw system_error(errno, boost::system::system_category());
}

/// The index selects the adapter: two adapters may have the same address.
ip_mreqn GroupOn(const Adapter& adapter)
{
    return {{inet_addr(kMulticastGroup)}, {inet_addr(adapter.ipAddress.c_str())}, adapter.index};
}

} // namespace

AdapterError::AdapterError(const std::string& what, const Adapter& adapter, const error_code& error,
                           const std::string& advice)
    : std::runtime_error(adapter.name.empty()
                             ? Compose(what, ": ", error.message())
                             : Compose(what, " on adapter ", adapter.name, " (", adapter.ipAddress,
                                       "): ", error.message(), advice))
{
}

Adapter AnyAdapter()
{
    return {"", 0, "0.0.0.0", "", true, false, 0};
}

CMessageSocket::CMessageSocket(boost::asio::io_context& ioService, CReceiver& usedReceiver,
                               const Adapter& usedAdapter, OnDatagram handler)
    : receiver(usedReceiver),
      adapter(usedAdapter),
      onDatagram(std::move(handler)),
      socket(ioService)
{
}

void CMessageSocket::OpenForProbing()
{
    try {
        socket.open(udp::v4());
        socket.bind({make_address_v4(adapter.ipAddress), 0});
        RequireOption(socket, IPPROTO_IP, IP_MULTICAST_IF, GroupOn(adapter));
        socket.set_option(boost::asio::ip::multicast::hops(kMulticastTtl));
        SetReceiveOptions();
    } catch (const system_error& error) {
        throw AdapterError(kCannotProbe, adapter, error.code());
    }
}

void CMessageSocket::OpenForGroup()
{
    std::string failure = kCannotListen;
    try {
        socket.open(udp::v4());
        // Shares the port with a recorder on this machine. Bound to the group's address, this
        // socket never receives what was sent to the recorder alone.
        socket.set_option(udp::socket::reuse_address(true));
        failure = Compose("cannot bind port ", kDiscoveryPort, " for announcements");
        socket.bind({make_address_v4(kMulticastGroup), kDiscoveryPort});
        failure = kCannotListen;
        // ip(7): with the default of 1, the socket would also receive from each adapter on which
        // another socket has joined the group.
        RequireOption(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0);
        RequireOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, GroupOn(adapter));
        SetReceiveOptions();
    } catch (const system_error& error) {
        throw AdapterError(failure, adapter, error.code());
    }
}

void CMessageSocket::SetReceiveOptions()
{
    RequireOption(socket, IPPROTO_IP, IP_PKTINFO, 1);
    // socket(7): SO_RCVBUFFORCE needs CAP_NET_ADMIN; SO_RCVBUF is limited to net.core.rmem_max.
    if (!SetOption(socket, SOL_SOCKET, SO_RCVBUFFORCE, kReceiveBufferSize))
        RequireOption(socket, SOL_SOCKET, SO_RCVBUF, kReceiveBufferSize);
}

void CMessageSocket::Send(const std::string& text, const udp::endpoint& destination)
{
    error_code error;
    socket.send_to(boost::asio::buffer(text), destination, 0, error);
    if (!error)
        return;
    if (destination.address().is_multicast())
        throw AdapterError(kCannotProbe, adapter, error, kSendAdvice);
    throw AdapterError(Compose("cannot probe ", Compose(destination)), adapter, error);
}

void CMessageSocket::StartReceive()
{
    receiver.Add(socket.native_handle(), onDatagram, [this](const error_code& error) {
        throw AdapterError("cannot receive", adapter, error);
    });
}

void CMessageSocket::Close()
{
    if (!socket.is_open())
        return;
    droppedCount = DroppedCount();
    receiver.Remove(socket.native_handle());
    error_code ignored;
    socket.close(ignored);
}

std::uint32_t CMessageSocket::DroppedCount()
{
    if (!socket.is_open())
        return droppedCount;
    // Not SO_RXQ_OVFL (socket(7)), which reports drops only together with a later datagram: often
    // there is none.
    std::uint32_t memory[SK_MEMINFO_VARS] = {};
    socklen_t size = sizeof(memory);
    getsockopt(socket.native_handle(), SOL_SOCKET, SO_MEMINFO, memory, &size);
    return memory[SK_MEMINFO_DROPS];
}

} // namespace kx::tools
