#pragma once

#include "host_records.h"

#include <string>
#include <variant>

namespace kx::tools {

/// What the plug-in reports.
struct LogRecord {
    int level; ///< one of those in i_core_log.h, or any other
    std::string text;
};

/// Who the plug-in says it is.
struct Registration {
    std::string name;
    std::string identifier;
    std::string version;
};

/// What the plug-in sent that is neither, or does not read.
struct RawRecord {
    std::uint64_t command;
    std::string data;
};

using PluginRecord = std::variant<LogRecord, Registration, RawRecord>;

/// Reads what the plug-in sent.
///
/// Reads dataLength bytes and relies on no NUL, though the plug-in sends one.
/// Threads: any.
PluginRecord ReadPluginRecord(const HostRequest& request);

} // namespace kx::tools
