#pragma once

#include "i_core_log.h"

#include <fstream>

namespace kx::log {

/// The log channel to the host: one XML record per message, sent on the caller's thread. Keeps no
/// queue and no state.
class CCoreLog : public ICoreLog {
public:
    /// Sends the text to the host; cut to its first 511 bytes. Level kLogLocal goes to standard
    /// error instead.
    ///
    /// Errors: none; what the host refuses is lost.
    /// Threads: any, also at once; the host's callback is called without a lock.
    void Log(std::int32_t level, const std::string& text) override;

private:
    /// Deliberate: never opened. Records go to the host alone, and it files them.
    std::ofstream logFile;
};

/// The one instance; lives as long as the library is loaded.
extern CCoreLog g_coreLog;

} // namespace kx::log
