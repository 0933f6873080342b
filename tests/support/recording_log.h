#pragma once

#include "i_core_log.h"

#include <string>
#include <vector>

/// A log that keeps each record as "level text". Not thread-safe.
struct RecordingLog : kx::log::ICoreLog {
    void Log(std::int32_t level, const std::string& text) override
    {
        lines.push_back(std::to_string(level) + " " + text);
    }

    std::vector<std::string> lines;
};
