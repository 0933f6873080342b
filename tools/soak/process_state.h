#pragma once

#include <cstddef>
#include <string>

namespace kx::tools {

/// Returns the resources of this process: "heap N, resident N, descriptors N, threads N". The heap
/// is the memory that is allocated and not freed, by mallinfo2(3); resident is the memory that the
/// process occupies in RAM, by statm of proc(5). Both are in bytes. Freed memory in the allocator's
/// caches (tcache) counts as heap.
///
/// Errors: std::filesystem::filesystem_error when /proc is not mounted.
/// Thread-safe.
std::string ProcessState();

/// Returns how many threads this process has. Errors and threads: as ProcessState.
std::ptrdiff_t ThreadCount();

} // namespace kx::tools
