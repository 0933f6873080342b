#pragma once

#include "device_list.h"

#include <string>

namespace kx::tools {

/// Returns an event as a line of JSON without its end; null stands for what is not known.
/// Characters outside ASCII are escaped, invalid UTF-8 is replaced: anybody on the network may have
/// sent it. Thread-safe.
std::string ToJsonLine(const Event& event);

} // namespace kx::tools
