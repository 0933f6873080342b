#pragma once

#include "device_list.h"

#include <string>

namespace kx::tools {

/// Returns an event as one line of JSON, without the line feed. Unknown values are null. Characters
/// outside ASCII are escaped and invalid UTF-8 is replaced: any machine on the network may have
/// sent them. Thread-safe.
std::string ToJsonLine(const Event& event);

} // namespace kx::tools
