#pragma once

#include "i_core_log.h"

#include <fstream>

namespace kx::log {

/// The log channel to the host: one XML record per message, sent on the caller's thread. Keeps no
/// queue and no state.
class CCoreLog : public ICoreLog {
public:
    /// Sends the first 511 bytes of the text to the host, or to standard error at kLogLocal.
    ///
    /// Errors: std::bad_alloc, and whatever the host's callback throws. The host's status is
    /// ignored: a record that it refuses is lost.
    /// Thread-safe; the host's callback is called without a lock.
    void Log(std::int32_t level, const std::string& text) override;

private:
    /// Deliberate: unused and never opened, because the host keeps the records. A file here would
    /// duplicate them and grow without limit.
    std::ofstream logFile;
};

/// The only instance; lives as long as the library is loaded.
extern CCoreLog g_coreLog;

} // namespace kx::log
