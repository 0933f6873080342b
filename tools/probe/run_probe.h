#pragma once

#include "device_type.h"

#include <boost/asio/ip/udp.hpp>

#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kProbeName[] = "pelorin-probe";

inline constexpr double kDefaultTimeoutSeconds = 2;

/// The options of the command line.
struct ProbeOptions {
    /// None: all but loopback; with hosts, those that the kernel's routes choose.
    std::vector<std::string> adapterNames;
    std::vector<boost::asio::ip::udp::endpoint> hosts; ///< asked instead of the group, if any
    std::optional<DeviceType> sought = RecorderType(); ///< none: every device
    std::optional<double> timeoutSeconds; ///< none: the default, or no end when watching
    int times = 1;
    bool watch = false;
    bool wide = false;
    bool json = false;
};

/// Looks for devices and prints them on standard output as they answer.
///
/// @return exit status: 0 when a device was found, or a signal ended the watching; 1 when none was;
///         kExitError when no adapter can be used
///
/// Errors: std::runtime_error.
int RunProbe(const ProbeOptions& options);

} // namespace kx::tools
