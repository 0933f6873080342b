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

/// Reports that a socket on an adapter cannot be opened, cannot send or cannot receive. The text
/// says why, and names the adapter unless it is AnyAdapter.
class AdapterError : public std::runtime_error {
public:
    /// @param what    what failed, "cannot ..."
    /// @param advice  what the user can do about it, beginning with "; "; ignored for AnyAdapter
    AdapterError(const std::string& what, const Adapter& adapter,
                 const boost::system::error_code& error, const std::string& advice = "");
};

/// Returns a placeholder for all adapters: the kernel's routes choose one for each datagram sent.
Adapter AnyAdapter();

/// A UDP socket on one adapter or, with AnyAdapter, on all.
///
/// Threads: the one that runs the I/O service.
class CMessageSocket {
public:
    using OnDatagram = CReceiver::OnDatagram;

    /// @param receiver    must outlive this object
    /// @param onDatagram  called for each datagram; may throw, see CReceiver::Add
    CMessageSocket(boost::asio::io_context& ioService, CReceiver& receiver, const Adapter& adapter,
                   OnDatagram onDatagram);
    ~CMessageSocket() { Close(); }
    CMessageSocket(const CMessageSocket&) = delete;
    CMessageSocket& operator=(const CMessageSocket&) = delete;

    /// Opens the socket for sending messages from an ephemeral port and receiving the answers.
    ///
    /// It is bound to the adapter's IP address: with IP_MULTICAST_IF alone, only messages to the
    /// group would have this source address.
    ///
    /// Errors: AdapterError.
    void OpenForProbing();

    /// Opens the socket for receiving what is sent to the discovery group on this adapter.
    ///
    /// Errors: AdapterError.
    void OpenForGroup();

    /// Sends a message. Errors: AdapterError.
    void Send(const std::string& text, const boost::asio::ip::udp::endpoint& destination);

    /// Starts receiving. If receiving fails later, the run of the I/O service throws an
    /// AdapterError; the service may be run again.
    void StartReceive();

    /// Stops receiving and closes the socket.
    void Close();

    /// Returns how many datagrams the kernel dropped because the socket's buffer was full. Works
    /// after Close too.
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
