#pragma once

#include "device_type.h"

#include <boost/asio/ip/udp.hpp>

#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kProbeName[] = "pelorin-probe";

inline constexpr double kDefaultTimeoutSeconds = 2;

/// The options of pelorin-probe's command line; --help explains them.
struct ProbeOptions {
    /// Adapters to ask on. If empty: all adapters with an IPv4 address except loopback, or, if
    /// `hosts` are given, those that the kernel's routes choose.
    std::vector<std::string> adapterNames;
    /// Hosts to ask; if empty, the discovery group 239.255.255.250.
    std::vector<boost::asio::ip::udp::endpoint> hosts;
    std::optional<DeviceType> sought = RecorderType(); ///< type to list; none: devices of any type
    /// Time to listen. If none: without `watch` kDefaultTimeoutSeconds, with `watch` no limit.
    std::optional<double> timeoutSeconds;
    int times = 1; ///< how many times the first Probe is sent
    bool watch = false;
    bool wide = false;
    bool json = false;
};

/// Looks for devices and prints them on standard output as they answer. Blocks until the timeout
/// has passed or, when watching, until SIGINT or SIGTERM arrives. Not thread-safe.
///
/// @return exit status: 0 when a device was found or a signal ended the watching; 1 when none was
///         found; kExitError (run_tool.h) when no adapter can be used, after messages on standard
///         error. When watching, an adapter on which only sending fails counts as usable.
///
/// Errors: std::runtime_error with a text for the user.
int RunProbe(const ProbeOptions& options);

} // namespace kx::tools
