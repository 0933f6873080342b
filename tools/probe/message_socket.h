#pragma once

#include "adapter.h"
#include "receiver.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace kx::tools {

/// Reports that an adapter cannot be used; the text names it and says why.
class AdapterError : public std::runtime_error {
public:
    /// @param what    what failed, "cannot ..."
    /// @param advice  what to do about it, after a semicolon
    AdapterError(const std::string& what, const Adapter& adapter,
                 const boost::system::error_code& error, const std::string& advice = "");
};

/// Returns a placeholder for any adapter: the kernel's routes choose one for each datagram.
Adapter AnyAdapter();

/// A UDP socket on one adapter, or on any.
///
/// Threads: the one that runs the I/O service.
class CMessageSocket {
public:
    using OnDatagram = CReceiver::OnDatagram;

    /// @param onDatagram  called for each datagram; may throw, see CReceiver
    CMessageSocket(boost::asio::io_context& ioService, CReceiver& receiver, const Adapter& adapter,
                   OnDatagram onDatagram);
    ~CMessageSocket() { Close(); }
    CMessageSocket(const CMessageSocket&) = delete;
    CMessageSocket& operator=(const CMessageSocket&) = delete;

    /// Opens the socket for sending from an ephemeral port and for the answers to it. It is bound
    /// to the adapter's address: bound only to the device, it would send from another
    /// adapter's address on loopback.
    ///
    /// Errors: AdapterError.
    void OpenForProbing();

    /// Opens the socket for messages to the discovery group on this adapter.
    ///
    /// Errors: AdapterError.
    void OpenForGroup();

    /// Sends a message. Errors: AdapterError.
    void Send(const std::string& text, const boost::asio::ip::udp::endpoint& destination);

    /// Starts receiving. If that fails, the service's run throws an AdapterError; the run may be
    /// continued.
    void StartReceive();

    /// Stops receiving.
    void Close();

    /// Returns how many datagrams the kernel dropped because the socket's buffer was full.
    std::uint32_t DroppedCount();

private:
    void SetReceiveOptions();

    CReceiver& receiver;
    const Adapter adapter;
    const OnDatagram onDatagram;
    boost::asio::ip::udp::socket socket;
    std::uint32_t droppedCount = 0;
};

} // namespace kx::tools
