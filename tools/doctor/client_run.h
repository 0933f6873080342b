#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// Looks for recorders as a client does and examines the answers. Takes up to 4 s, or 6 s if late
/// answers name further addresses to ask. Shows the remaining time of the current step on standard
/// error if that is a terminal.
///
/// @param names   see CheckAdapters
/// @param target  IPv4 address of a recorder that is also asked directly; may be empty
///
/// Errors: std::runtime_error.
/// Not thread-safe.
Findings ExamineClient(const std::vector<std::string>& names, const std::string& target);

} // namespace kx::tools
