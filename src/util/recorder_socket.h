#pragma once

#include <cstddef>

/// Sizes of the plug-in's discovery socket. pelorin-doctor uses them to judge a recorder's socket
/// and which Probes the recorder can read. The benchmarks use them to receive as the plug-in does.
namespace kx {

/// Maximum bytes that are read from a datagram. The kernel truncates a longer datagram.
inline constexpr std::size_t kRecorderReadSize = 4096;

/// Bytes of the receive buffer as passed to SO_RCVBUF (socket(7)). The kernel doubles this number.
inline constexpr int kRecorderBufferSize = 1024 * 1024;

} // namespace kx
