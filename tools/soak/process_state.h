#pragma once

#include <cstddef>
#include <string>

namespace kx::tools {

/// Returns the resources of this process: "heap N, resident N, descriptors N, threads N". The heap
/// in use (mallinfo2(3); includes freed memory in the allocator's caches per thread) and the
/// resident memory (statm of proc(5)) are in bytes.
///
/// Errors: std::filesystem::filesystem_error when /proc is not mounted.
/// Thread-safe.
std::string ProcessState();

/// Returns how many threads this process has. Errors and threads: as ProcessState.
std::ptrdiff_t ThreadCount();

} // namespace kx::tools
