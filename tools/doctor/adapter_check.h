#pragma once

#include "adapter.h"
#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// The adapters that further checks can use, and what is wrong with the others.
struct CheckedAdapters {
    std::vector<Adapter> usable;
    Findings findings;
};

/// Looks at the adapters themselves: `no-adapter`, `link-down` and `no-multicast`.
///
/// @param all    all adapters of the machine
/// @param names  those to look at; when empty, every one but loopback that has an IPv4 address
///
/// Thread-safe.
CheckedAdapters CheckAdapters(const std::vector<Adapter>& all,
                              const std::vector<std::string>& names);

} // namespace kx::tools
