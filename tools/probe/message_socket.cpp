#include "message_socket.h"

#include "discovery_group.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/system/system_error.hpp>

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;
using boost::system::system_error;

namespace kx::tools {
namespace {

/// As far as the recorders' own announcements go.
constexpr int kMulticastTtl = 32;

/// A whole site answers within a moment.
constexpr int kSocketBufferSize = 1024 * 1024;

constexpr char kCannotProbe[] = "cannot probe on adapter";
constexpr char kSendAdvice[] = "; see that it is up and that a firewall lets UDP port 3702 out";
constexpr char kCannotListen[] = "cannot listen for announcements on adapter";

udp::endpoint GroupEndpoint()
{
    return {make_address_v4(kMulticastGroup), kDiscoveryPort};
}

} // namespace

AdapterError::AdapterError(const std::string& what, const Adapter& adapter, const error_code& error,
                           const std::string& advice)
    : std::runtime_error(
          Compose(what, " ", adapter.name, " (", adapter.ipAddress, "): ", error.message(), advice))
{
}

CMessageSocket::CMessageSocket(boost::asio::io_context& ioService, const Adapter& usedAdapter,
                               OnMessage handler)
    : adapter(usedAdapter), onMessage(std::move(handler)), socket(ioService)
{
}

void CMessageSocket::OpenForProbing()
{
    try {
        const auto address = make_address_v4(adapter.ipAddress);
        socket.open(udp::v4());
        socket.bind({address, 0});
        socket.set_option(boost::asio::ip::multicast::outbound_interface(address));
        socket.set_option(boost::asio::ip::multicast::hops(kMulticastTtl));
        socket.set_option(udp::socket::receive_buffer_size(kSocketBufferSize));
    } catch (const system_error& error) {
        throw AdapterError(kCannotProbe, adapter, error.code());
    }
}

void CMessageSocket::OpenForGroup()
{
    std::string failure = kCannotListen;
    try {
        socket.open(udp::v4());
        // A recorder on this machine binds the same port. Bound to the group rather than to the
        // wildcard, this socket never takes what is sent to that recorder alone.
        socket.set_option(udp::socket::reuse_address(true));
        failure = Compose("cannot bind port ", kDiscoveryPort, " for announcements on adapter");
        socket.bind(GroupEndpoint());
        failure = kCannotListen;
        // ip(7): otherwise it hears the group on every adapter on which anybody has joined it.
        const int all = 0;
        if (setsockopt(socket.native_handle(), IPPROTO_IP, IP_MULTICAST_ALL, &all, sizeof(all)) < 0)
            throw system_error(errno, boost::system::system_category());
        socket.set_option(boost::asio::ip::multicast::join_group(
            make_address_v4(kMulticastGroup), make_address_v4(adapter.ipAddress)));
        socket.set_option(udp::socket::receive_buffer_size(kSocketBufferSize));
    } catch (const system_error& error) {
        throw AdapterError(failure, adapter, error.code());
    }
}

void CMessageSocket::SendToGroup(const std::string& text)
{
    error_code error;
    socket.send_to(boost::asio::buffer(text), GroupEndpoint(), 0, error);
    if (error)
        throw AdapterError(kCannotProbe, adapter, error, kSendAdvice);
}

void CMessageSocket::StartReceive(std::shared_ptr<void> owner)
{
    socket.async_receive_from(
        boost::asio::buffer(buffer), source,
        [this, kept = std::move(owner)](const error_code& error, std::size_t length) {
            OnReceive(error, length, kept);
        });
}

void CMessageSocket::Close()
{
    error_code ignored;
    socket.close(ignored);
}

void CMessageSocket::OnReceive(const error_code& error, std::size_t length,
                               std::shared_ptr<void> owner)
{
    if (!socket.is_open()) // closed while this was on its way
        return;
    if (error)
        throw AdapterError("cannot receive on adapter", adapter, error);
    onMessage(ReadMessage(buffer.data(), length), source);
    StartReceive(std::move(owner));
}

} // namespace kx::tools
