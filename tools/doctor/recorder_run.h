#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kDoctorName[] = "pelorin-doctor";

/// Time to watch the Probes that come to a recorder.
inline constexpr double kDefaultWatchSeconds = 10;

/// Examines this machine as a recorder's. Says on standard error that somebody has to ask
/// meanwhile, and on a terminal how long still; SIGINT and SIGTERM end the watch early.
///
/// @param names  see CheckAdapters
///
/// Errors: std::runtime_error.
/// Threads: one.
Findings ExamineRecorder(const std::vector<std::string>& names, double watchSeconds);

} // namespace kx::tools
