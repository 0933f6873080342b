#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

inline constexpr char kDoctorName[] = "pelorin-doctor";

/// Time to watch for Probes on a recorder.
inline constexpr double kDefaultWatchSeconds = 10;

/// Examines the recorder's side. Prints on standard error that a client has to ask during the
/// watch, and shows the remaining time on a terminal; SIGINT and SIGTERM end the watch early.
///
/// @param names  see CheckAdapters
///
/// Errors: std::runtime_error.
/// Not thread-safe.
Findings ExamineRecorder(const std::vector<std::string>& names, double watchSeconds);

} // namespace kx::tools
