#pragma once

#include <pelorin/plugin.h>

#include <string>
#include <variant>

namespace kx::tools {

/// What the plug-in reports.
struct LogRecord {
    int level; ///< PELORIN_LEVEL_..., or any other number
    std::string text;
};

/// Who the plug-in says it is.
struct Registration {
    std::string name;
    std::string identifier;
    std::string version;
};

/// What the plug-in sent that is neither, or cannot be read.
struct UnknownRecord {
    std::uint64_t command;
    std::string data;
};

using PluginRecord = std::variant<LogRecord, Registration, UnknownRecord>;

/// Reads what the plug-in sent: dataLength bytes, with or without a NUL at the end. Thread-safe.
PluginRecord ReadPluginRecord(const PelorinHostRequest& request);

} // namespace kx::tools
