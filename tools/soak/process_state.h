#pragma once

#include <string>

namespace kx::tools {

/// What this process holds: "heap N, resident N, descriptors N, threads N". The heap is what was
/// allocated and not freed, resident is the memory that the process occupies (proc(5)); both in
/// bytes.
///
/// Errors: std::filesystem::filesystem_error when /proc is not there.
/// Threads: any; what other threads do meanwhile may be counted or not.
std::string ProcessState();

} // namespace kx::tools
