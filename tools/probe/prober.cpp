#include "prober.h"

#include "discovery_group.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/system/system_error.hpp>

#include <stdexcept>
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

std::runtime_error AdapterError(const Adapter& adapter, const error_code& error)
{
    return std::runtime_error(Compose("cannot probe on adapter ", adapter.name, " (",
                                      adapter.ipAddress, "): ", error.message()));
}

} // namespace

Prober::Prober(boost::asio::io_context& ioService, const Adapter& probedOn, OnAnswer handler)
    : adapter(probedOn), onAnswer(std::move(handler)), socket(ioService)
{
    try {
        const auto address = make_address_v4(adapter.ipAddress);
        socket.open(udp::v4());
        socket.bind({address, 0});
        socket.set_option(boost::asio::ip::multicast::outbound_interface(address));
        socket.set_option(boost::asio::ip::multicast::hops(kMulticastTtl));
        socket.set_option(udp::socket::receive_buffer_size(kSocketBufferSize));
    } catch (const system_error& error) {
        throw AdapterError(adapter, error.code());
    }
}

void Prober::Start(const ProbeMessage& probe)
{
    identifier = probe.identifier;
    sentAt = std::chrono::steady_clock::now();
    error_code error;
    socket.send_to(boost::asio::buffer(probe.text),
                   {make_address_v4(kMulticastGroup), kDiscoveryPort}, 0, error);
    if (error)
        throw AdapterError(adapter, error);
    StartReceive();
}

void Prober::StartReceive()
{
    socket.async_receive_from(
        boost::asio::buffer(buffer), source,
        [this](const error_code& error, std::size_t length) { OnReceive(error, length); });
}

void Prober::OnReceive(const error_code& error, std::size_t length)
{
    if (error)
        throw AdapterError(adapter, error);
    const auto roundTrip = std::chrono::steady_clock::now() - sentAt;
    const auto answer = ReadProbeMatches(buffer.data(), length);
    if (!answer) {
        ++malformed;
    } else if (RelatesTo(*answer, identifier)) {
        for (const ProbeMatch& match : answer->matches)
            onAnswer({match, adapter.name, source, roundTrip});
    }
    StartReceive();
}

} // namespace kx::tools
