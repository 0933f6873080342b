#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// Looks for recorders as a client does and examines the answers. Takes 2 s for the group, up to
/// 2 s for direct Probes, and up to 2 s more if answers that arrive during the direct Probes make
/// further addresses known. Shows each step's remaining time on standard error if it is a terminal.
///
/// @param names   see CheckAdapters
/// @param target  IPv4 address of a recorder that is also asked directly; may be empty
///
/// Errors: std::runtime_error.
/// Not thread-safe.
Findings ExamineClient(const std::vector<std::string>& names, const std::string& target);

} // namespace kx::tools
