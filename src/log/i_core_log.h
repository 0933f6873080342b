#pragma once

#include <pelorin/plugin.h>

#include <cstdint>
#include <string>

namespace kx::log {

/// Levels of log records. Nothing is filtered: all but kLogLocal reach the host, whatever the
/// value.
inline constexpr std::int32_t kLogLocal = PELORIN_LEVEL_LOCAL;
inline constexpr std::int32_t kLogInfo = PELORIN_LEVEL_INFO;
inline constexpr std::int32_t kLogWarning = PELORIN_LEVEL_WARNING;
inline constexpr std::int32_t kLogError = PELORIN_LEVEL_ERROR;

/// Where the plug-in's components report to.
class ICoreLog {
public:
    ICoreLog() = default;
    ICoreLog(const ICoreLog&) = delete;
    ICoreLog& operator=(const ICoreLog&) = delete;
    virtual ~ICoreLog() = default;

    /// Files one record.
    ///
    /// @param text  the message, without a trailing newline
    ///
    /// Synchronous. Threads: any, also at once; records of one thread keep their order.
    virtual void Log(std::int32_t level, const std::string& text) = 0;
};

} // namespace kx::log
