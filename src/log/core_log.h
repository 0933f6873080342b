#pragma once

#include "i_core_log.h"

#include <fstream>

namespace kx::log {

/// Sends log messages to the host as one XML record each, on the caller's thread. Keeps no queue.
class CCoreLog : public ICoreLog {
public:
    /// Sends the first 511 bytes of the text to the host. At kLogLocal, prints them to standard
    /// error instead.
    ///
    /// Errors: std::bad_alloc, and what the host's callback throws. A record that the host refuses
    /// is lost.
    /// Thread-safe; holds no lock while it calls the callback.
    void Log(std::int32_t level, const std::string& text) override;

private:
    /// Deliberate: never opened. The host stores the records; a file here would repeat them and
    /// grow without limit.
    std::ofstream logFile;
};

/// The only instance. It lives from dlopen(3) of the plug-in to dlclose(3) or exit(3).
extern CCoreLog g_coreLog;

} // namespace kx::log
