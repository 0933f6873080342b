#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Gives the process a network namespace of its own: runs it again, with its arguments, under
/// scripts/own-network. Returns in the second run only; the process ends with an error where the
/// system allows no namespaces.
void EnterOwnNetwork(const std::vector<std::string>& arguments);

/// The recorder's namespace, which is the process's own, and a prober's, joined by two cables:
///
///     recorder: cam0 10.7.0.1/24, MAC 02:00:00:00:07:01 ---- eye0 10.7.0.2/24 :prober
///               cam1 10.8.0.1/24, MAC 02:00:00:00:08:01 ---- eye1 10.8.0.2/24
///
/// Only one may exist at a time.
class Network {
public:
    Network();

    /// Runs a shell command in the recorder's namespace; throws when it fails.
    static void Run(const std::string& command);
    /// Drops packets that match, by nft(8), at the hook "input" or "output".
    static void Drop(const std::string& hook, const std::string& match);
    /// Runs work on a thread in the prober's namespace, in which its sockets remain.
    void AsProber(const std::function<void()>& work) const;

private:
    int prober;
};

struct Datagram {
    std::string text;
    std::string source; ///< "address:port"
};

/// An IPv4 UDP socket on one device. At the discovery port it is bound to the wildcard address and
/// a member of the group; at other ports it is bound to the address.
class Socket {
public:
    Socket(const std::string& device, const std::string& address, std::uint16_t port);

    void Send(const std::string& text, const std::string& address = "239.255.255.250");
    std::optional<Datagram> Receive(std::chrono::milliseconds bound);
    /// Receives for that time; returns the datagrams that contain the text.
    std::vector<Datagram> ReceiveAll(const std::string& text, std::chrono::milliseconds bound);
    /// Returns "address:port".
    std::string Name() const;

private:
    boost::asio::io_context service;
    boost::asio::ip::udp::socket socket;
};

/// A Probe for types in the vendor's namespace (prefix ktz).
std::string Probe(const std::string& messageId,
                  const std::string& types = "ktz:NetworkVideoRecorder");
