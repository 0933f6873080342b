#pragma once

#include "device_list.h"

#include <string>

namespace kx::tools {

/// An event as a line of JSON without its end; null stands for what is not known. All but ASCII is
/// escaped, what is no UTF-8 replaced: much of it came over the network, where anybody may have
/// sent it.
///
/// Threads: any.
std::string ToJsonLine(const Event& event);

} // namespace kx::tools
