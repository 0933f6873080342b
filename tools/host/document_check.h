#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kx::tools {

/// The network devices of a machine by name, with their IPv4 addresses.
using Devices = std::map<std::string, std::set<std::string>>;

/// Reads this machine's devices. Errors: std::system_error.
Devices ReadDevices();

/// A result of the check of a server and adapter document.
struct DocumentFinding {
    enum class Kind {
        kDropped, ///< why the plug-in drops the document
        kPort,    ///< the port that it advertises, and whether the document sets it
        kUsed,    ///< an adapter that the plug-in uses
        kSkipped, ///< an adapter that it leaves out, and why
        kNote,    ///< anything else to know, such as an address that this machine lacks
    };
    Kind kind;
    int line; ///< of the document, from 1
    std::string text;
};

/// The plug-in's reaction to a server and adapter document.
struct DocumentCheck {
    enum class Verdict {
        kUsable,
        kNothingToAdvertise, ///< the plug-in accepts the document, but no adapter can start
        kDropped,            ///< the plug-in ignores the document
    };
    Verdict verdict;
    std::vector<DocumentFinding> findings; ///< in the order of the lines
};

/// Reads a document as the plug-in does and explains the result.
///
/// @param devices  the machine's devices, to compare the adapters with; none: no comparison
///
/// Thread-safe.
DocumentCheck CheckDocument(const std::string& document, const std::optional<Devices>& devices);

/// Returns "dropped", "port", "adapter", "skipped" or "note".
const char* ToText(DocumentFinding::Kind kind);
/// Returns "usable", "nothing to advertise" or "dropped".
const char* ToText(DocumentCheck::Verdict verdict);

/// Returns "LINE: kind: text".
std::string ToText(const DocumentFinding& finding);

} // namespace kx::tools
