#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kDoctorName[] = "pelorin-doctor";

/// Time to watch for Probes on a recorder: enough to start a command on the client.
inline constexpr double kDefaultWatchSeconds = 10;

/// Examines this machine as a recorder. Then watches the Probes that arrive and the answers that
/// leave on each adapter for which a packet socket can be opened and from which any socket on the
/// discovery port receives. If it watches any adapter, asks on standard error to run a client now,
/// and shows the remaining time there if it is a terminal. SIGINT and SIGTERM end the watch early.
///
/// @param names  see CheckAdapters
///
/// Errors: std::runtime_error, for example when the adapters cannot be read.
/// Not thread-safe.
Findings ExamineRecorder(const std::vector<std::string>& names, double watchSeconds);

} // namespace kx::tools
