#pragma once

#include <cstddef>

/// Sizes of the plug-in's discovery socket. pelorin-doctor judges recorders by them, and the
/// benchmarks receive with them.
namespace kx {

/// Maximum bytes that are read from a datagram. The kernel truncates a longer datagram.
inline constexpr std::size_t kRecorderReadSize = 4096;

/// Bytes of the receive buffer as passed to SO_RCVBUF (socket(7)). The kernel doubles this number.
inline constexpr int kRecorderBufferSize = 1024 * 1024;

} // namespace kx
