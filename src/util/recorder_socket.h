#pragma once

#include <cstddef>

/// Sizes of a recorder's socket, shared with the doctor, which checks them, and the benchmarks,
/// whose servers receive like a recorder.
namespace kx {

/// Bytes read of a datagram; longer ones are truncated.
inline constexpr std::size_t kRecorderReadSize = 4096;

/// Bytes of the receive buffer, SO_RCVBUF of socket(7), which the kernel doubles.
inline constexpr int kRecorderBufferSize = 1024 * 1024;

} // namespace kx
