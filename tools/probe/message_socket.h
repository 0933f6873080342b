#pragma once

#include "adapter.h"
#include "message_reader.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <array>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

namespace kx::tools {

/// An adapter that cannot be used; the text names it and says why.
class AdapterError : public std::runtime_error {
public:
    /// @param what    what cannot be done, "cannot ... on adapter"
    /// @param advice  what to do about it, with a semicolon in front
    AdapterError(const std::string& what, const Adapter& adapter,
                 const boost::system::error_code& error, const std::string& advice = "");
};

/// A UDP socket on one adapter, until it is closed or the I/O service's run is over.
///
/// Threads: the one that runs the service.
class CMessageSocket {
public:
    /// Called for each datagram with what ReadMessage made of it.
    using OnMessage = std::function<void(const std::variant<Message, Unread>& message,
                                         const boost::asio::ip::udp::endpoint& source)>;

    CMessageSocket(boost::asio::io_context& ioService, const Adapter& adapter, OnMessage handler);
    CMessageSocket(const CMessageSocket&) = delete;
    CMessageSocket& operator=(const CMessageSocket&) = delete;

    /// Opens it for multicast from a port of its own, and what comes back to that. It is bound to
    /// the adapter's own address: that makes it the source of what is sent, which a socket merely
    /// bound to the device would not have on loopback.
    ///
    /// Errors: AdapterError.
    void OpenForProbing();

    /// Opens it for what others multicast to the discovery group, on this adapter alone.
    ///
    /// Errors: AdapterError.
    void OpenForGroup();

    /// Sends to the discovery group.
    ///
    /// Errors: AdapterError.
    void SendToGroup(const std::string& text);

    /// Receives from here on. Errors: AdapterError from the service's run, which may be run again;
    /// nothing more is received then.
    ///
    /// @param owner  what this socket is part of; kept alive while the socket waits
    void StartReceive(std::shared_ptr<void> owner);

    /// Receives no more.
    void Close();

private:
    void OnReceive(const boost::system::error_code& error, std::size_t length,
                   std::shared_ptr<void> owner);

    const Adapter adapter;
    const OnMessage onMessage;
    boost::asio::ip::udp::socket socket;
    boost::asio::ip::udp::endpoint source;
    std::array<char, 65536> buffer; // no UDP datagram is longer
};

} // namespace kx::tools
