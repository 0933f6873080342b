#pragma once

#include "i_core_log.h"
#include "text.h"

#include <iostream>

namespace kx::log {

/// Joins the pieces into a message (see Compose) and writes it to the log.
///
/// @param sink   the log; null: standard output, whatever the level
/// @param level  as for ICoreLog::Log
///
/// Errors: std::bad_alloc, and what the log throws. Thread-safe.
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
