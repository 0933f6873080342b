#pragma once

#include "adapter.h"
#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// The adapters that further checks can use, and the findings about all that were checked. An
/// adapter with the finding `no-multicast` is usable, because it carries direct Probes.
struct CheckedAdapters {
    std::vector<Adapter> usable;
    Findings findings;
};

/// Checks the addresses, link and flags of adapters. Findings: `no-adapter`, `link-down` and
/// `no-multicast`.
///
/// @param names  the adapters to check; when empty, all with an IPv4 address except loopback
///
/// Thread-safe.
CheckedAdapters CheckAdapters(const std::vector<Adapter>& all,
                              const std::vector<std::string>& names);

} // namespace kx::tools
