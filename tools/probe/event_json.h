#pragma once

#include "device_list.h"

#include <string>

namespace kx::tools {

/// Returns an event as one line of JSON, without the line feed. An unknown value is null, an
/// unknown list is empty. Characters outside ASCII are escaped and invalid UTF-8 is replaced,
/// because any machine may have sent the texts. Thread-safe.
std::string ToJsonLine(const Event& event);

} // namespace kx::tools
