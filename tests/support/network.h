#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Starts the program again in a new network namespace, by scripts/own-network, and returns only
/// there. Where the system does not allow namespaces, the process ends with an error.
///
/// @param arguments  all of main's; the first one, the program's name, is not used
void EnterOwnNetwork(const std::vector<std::string>& arguments);

/// Two network namespaces joined by two virtual cables (veth(4)): that of the process, where the
/// recorder runs, and a new one for a prober.
///
///     recorder: cam0 10.7.0.1/24, MAC 02:00:00:00:07:01 ---- eye0 10.7.0.2/24 :prober
///               cam1 10.8.0.1/24, MAC 02:00:00:00:08:01 ---- eye1 10.8.0.2/24
///
/// Only one may exist at a time, because the names of the adapters are fixed.
class Network {
public:
    Network();

    /// Runs a shell command in the calling thread's namespace: the prober's inside AsProber, else
    /// the recorder's. Throws std::runtime_error when it fails.
    static void Run(const std::string& command);
    /// Makes the firewall of the calling thread's namespace drop packets.
    ///
    /// @param hook   "input" for received packets, "output" for sent ones
    /// @param match  nft(8) expression for the packets to drop
    static void Drop(const std::string& hook, const std::string& match);
    /// Runs `work` on a thread in the prober's namespace and waits for its end. Sockets that it
    /// opens stay in that namespace, whatever thread uses them later.
    void AsProber(const std::function<void()>& work) const;

private:
    int prober;
};

struct Datagram {
    std::string text;
    std::string source; ///< "address:port"
};

/// An IPv4 UDP socket that is bound to a device.
class Socket {
public:
    /// Binds to the address and port; 0 is any free port. With the discovery port, binds to the
    /// wildcard address instead and joins the group on the address's adapter.
    Socket(const std::string& device, const std::string& address, std::uint16_t port);

    /// Sends to the discovery port of the address. Ignores a failure.
    void Send(const std::string& text, const std::string& address = "239.255.255.250");
    /// Returns the next datagram, or nothing if none arrives within `bound`.
    std::optional<Datagram> Receive(std::chrono::milliseconds bound);
    /// Receives until `bound` has passed. Returns the datagrams that contain the text.
    std::vector<Datagram> ReceiveAll(const std::string& text, std::chrono::milliseconds bound);
    /// Returns the socket's own "address:port".
    std::string Name() const;

private:
    boost::asio::io_context service;
    boost::asio::ip::udp::socket socket;
};

/// Returns a Probe for `types`, a list separated by spaces. The prefix ktz stands for the namespace
/// of the recorder's type.
std::string Probe(const std::string& messageId,
                  const std::string& types = "ktz:NetworkVideoRecorder");
