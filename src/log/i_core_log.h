#pragma once

#include <pelorin/plugin.h>

#include <cstdint>
#include <string>

namespace kx::log {

// Levels of log records. Records of every level except kLogLocal, listed here or not, go to the
// host.
inline constexpr std::int32_t kLogLocal = PELORIN_LEVEL_LOCAL;
inline constexpr std::int32_t kLogInfo = PELORIN_LEVEL_INFO;
inline constexpr std::int32_t kLogWarning = PELORIN_LEVEL_WARNING;
inline constexpr std::int32_t kLogError = PELORIN_LEVEL_ERROR;

/// The log that the plug-in's components write to.
class ICoreLog {
public:
    ICoreLog() = default;
    ICoreLog(const ICoreLog&) = delete;
    ICoreLog& operator=(const ICoreLog&) = delete;
    virtual ~ICoreLog() = default;

    /// Writes one record before it returns.
    ///
    /// @param level  one of the levels above
    /// @param text   the message, without a line feed at its end
    ///
    /// Thread-safe; records of one thread keep their order.
    virtual void Log(std::int32_t level, const std::string& text) = 0;
};

} // namespace kx::log
