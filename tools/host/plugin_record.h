#pragma once

#include <pelorin/plugin.h>

#include <string>
#include <variant>

namespace kx::tools {

struct LogRecord {
    int level; ///< PELORIN_LEVEL_..., or any other number
    std::string text;
};

struct Registration {
    std::string name;
    std::string identifier;
    std::string version;
};

/// A record with an unknown command, or one that cannot be read.
struct UnknownRecord {
    std::uint64_t command;
    std::string data;
};

using PluginRecord = std::variant<LogRecord, Registration, UnknownRecord>;

/// Reads the record in a request to the host's callback, with or without a NUL at its end.
/// Thread-safe.
PluginRecord ReadPluginRecord(const PelorinHostRequest& request);

} // namespace kx::tools
