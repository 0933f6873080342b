#pragma once

#include <string>

namespace kx::tools {

/// Returns the resources of this process: "heap N, resident N, descriptors N, threads N". The heap
/// is the memory that was allocated and not freed; resident is the memory that the process occupies
/// (proc(5)); both in bytes.
///
/// Errors: std::filesystem::filesystem_error when /proc is not mounted.
/// Thread-safe.
std::string ProcessState();

} // namespace kx::tools
