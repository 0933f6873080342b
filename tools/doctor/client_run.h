#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// Looks for recorders as a client does and examines the answers. Takes up to 4 s: 2 s for the
/// group, then 2 s for direct Probes. Takes up to 6 s if answers that arrive during the direct
/// Probes make further addresses known, which are then asked too. Shows the remaining time of the
/// current step on standard error if that is a terminal.
///
/// @param names   see CheckAdapters
/// @param target  IPv4 address of a recorder that is also asked directly; may be empty
///
/// Errors: std::runtime_error.
/// Not thread-safe.
Findings ExamineClient(const std::vector<std::string>& names, const std::string& target);

} // namespace kx::tools
