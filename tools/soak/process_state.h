#pragma once

#include <string>

namespace kx::tools {

/// Returns what this process holds: "heap N, resident N, descriptors N, threads N". The heap is the
/// memory that was allocated and not freed, resident the memory that the process occupies
/// (proc(5)), both in bytes.
///
/// Errors: std::filesystem::filesystem_error when /proc is not there.
/// Thread-safe.
std::string ProcessState();

} // namespace kx::tools
