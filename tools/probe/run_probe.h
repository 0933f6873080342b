#pragma once

#include "uris.h"

#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kProbeName[] = "pelorin-probe";

inline constexpr double kDefaultTimeoutSeconds = 2;

/// What the command line asks for.
struct ProbeOptions {
    std::vector<std::string> adapterNames{"lo"};
    bool all = false; ///< rather every adapter but loopback
    std::string type = kDeviceType;
    std::string namespaceUri = kVendorDiscoveryUri;
    std::optional<double> timeoutSeconds; ///< without one the default, or no end when watching
    int times = 1;
    bool watch = false;
    bool json = false;
};

/// Looks for devices and shows them on standard output as they are heard.
///
/// @return exit status: 0 when somebody was heard, or a signal ended the watching; 1 when nobody
///         was; kExitError when no adapter can be used
///
/// Errors: std::runtime_error.
int RunProbe(const ProbeOptions& options);

} // namespace kx::tools
