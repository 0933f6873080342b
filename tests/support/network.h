#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Gives the process a network of its own: runs it again with its arguments under unshare(1), as
/// root of a user namespace where it is not root already. Returns in the second run alone; ends the
/// process with an error when the system allows no namespaces.
void EnterOwnNetwork(const std::vector<std::string>& arguments);

/// The recorder's namespace, which is the process's own, and a prober's, joined by two cables:
///
///     recorder: cam0 10.7.0.1/24, MAC 02:00:00:00:07:01 ---- eye0 10.7.0.2/24 :prober
///               cam1 10.8.0.1/24, MAC 02:00:00:00:08:01 ---- eye1 10.8.0.2/24
///
/// One at a time; the cables go with it.
class Network {
public:
    Network();
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// Runs a shell command in the recorder's namespace; throws when it fails.
    void Run(const std::string& command) const;
    /// Runs work on a thread inside the prober's namespace. A socket made there stays there.
    void AsProber(const std::function<void()>& work) const;
    void RunAsProber(const std::string& command) const;

private:
    int prober;
};

struct Datagram {
    std::string text;
    std::string source; ///< "address:port"
};

/// An IPv4 UDP socket on one device.
class Socket {
public:
    /// @param address  the device's; where `port` is the discovery port the socket joins the group
    ///                 there and is bound to the wildcard, else it is bound to the address
    Socket(const std::string& device, const std::string& address, std::uint16_t port);
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void Send(const std::string& text, const std::string& address = "239.255.255.250") const;
    std::optional<Datagram> Receive(std::chrono::milliseconds bound) const;
    /// Receives until the bound has passed; those that hold the text.
    std::vector<Datagram> ReceiveAll(const std::string& text,
                                     std::chrono::milliseconds bound) const;
    std::uint16_t Port() const;

private:
    int descriptor;
};

/// A Probe for a type in the vendor's namespace (prefix ktz).
std::string Probe(const std::string& messageId,
                  const std::string& types = "ktz:NetworkVideoRecorder");
