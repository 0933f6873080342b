#pragma once

#include "host_records.h"

#include <string>

namespace kx::tools {

/// One entry of the host's log.
struct LogEntry {
    std::string label; ///< level of a log record, "module", "raw", or "host" for the host itself
    std::string text;
};

/// Reads what the plug-in sent: a log record or a registration. Anything else, and a document that
/// does not read, becomes an entry labelled "raw" that holds the data itself.
///
/// Reads dataLength bytes and relies on no NUL, though the plug-in sends one.
/// Threads: any.
LogEntry ReadPluginRecord(const HostRequest& request);

} // namespace kx::tools
