#pragma once

#include "i_core_log.h"
#include "text.h"

#include <iostream>

namespace kx::log {

/// Composes a message and writes it to the log. Every component reports through this function.
///
/// @param sink  null: the message goes to standard output, at every level
///
/// Thread-safe.
template <class... Pieces>
void Report(ICoreLog* sink, std::int32_t level, const Pieces&... pieces)
{
    const std::string text = Compose(pieces...);
    if (sink)
        sink->Log(level, text);
    else
        std::cout << text << std::endl;
}

} // namespace kx::log
