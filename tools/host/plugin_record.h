#pragma once

#include <pelorin/plugin.h>

#include <string>
#include <variant>

namespace kx::tools {

/// A log record of the plug-in.
struct LogRecord {
    int level; ///< PELORIN_LEVEL_..., or any other number
    std::string text;
};

/// The plug-in's registration.
struct Registration {
    std::string name;
    std::string identifier;
    std::string version;
};

/// Any other record, or one that cannot be read.
struct UnknownRecord {
    std::uint64_t command;
    std::string data;
};

using PluginRecord = std::variant<LogRecord, Registration, UnknownRecord>;

/// Reads a record: dataLength bytes, with or without a NUL at the end. Thread-safe.
PluginRecord ReadPluginRecord(const PelorinHostRequest& request);

} // namespace kx::tools
