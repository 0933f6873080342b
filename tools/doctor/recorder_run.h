#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kDoctorName[] = "pelorin-doctor";

/// Time to watch the Probes that come to a recorder.
inline constexpr double kDefaultWatchSeconds = 10;

/// Examines the recorder's side. Says on standard error that a client has to ask meanwhile, and
/// shows the remaining time on a terminal; SIGINT and SIGTERM end the watch early.
///
/// @param names  see CheckAdapters
///
/// Errors: std::runtime_error.
/// Threads: one.
Findings ExamineRecorder(const std::vector<std::string>& names, double watchSeconds);

} // namespace kx::tools
