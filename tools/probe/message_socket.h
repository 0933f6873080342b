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

/// An adapter that cannot be used; the text names it and says why.
class AdapterError : public std::runtime_error {
public:
    /// @param what    what cannot be done, "cannot ..."
    /// @param advice  what to do about it, with a semicolon in front
    AdapterError(const std::string& what, const Adapter& adapter,
                 const boost::system::error_code& error, const std::string& advice = "");
};

/// Stands for any adapter: the kernel's routes choose one for each datagram that is sent.
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

    /// Opens it for sending from a port of its own, and for what comes back to that port. It is
    /// bound to the adapter's address: a socket that is only bound to the device would send from
    /// another one on loopback.
    ///
    /// Errors: AdapterError.
    void OpenForProbing();

    /// Opens it for what others send to the discovery group on this adapter.
    ///
    /// Errors: AdapterError.
    void OpenForGroup();

    /// Sends a message. Errors: AdapterError.
    void Send(const std::string& text, const boost::asio::ip::udp::endpoint& destination);

    /// Starts receiving. An AdapterError comes out of the service's run when that fails; the run
    /// may be continued.
    void StartReceive();

    /// Stops receiving.
    void Close();

    /// Returns how many datagrams the kernel dropped since the socket was opened, for want of room.
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
