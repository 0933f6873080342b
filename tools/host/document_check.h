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

/// Something worth telling about a server and adapter document.
struct Finding {
    enum class Kind {
        kDropped, ///< why the plug-in drops the document
        kPort,    ///< the port that it advertises, and where that comes from
        kTaken,   ///< an adapter that the plug-in takes
        kSkipped, ///< one that it leaves out, and why
        kNote,    ///< what it takes as it is although it cannot work
    };
    Kind kind;
    int line; ///< of the document, from 1
    std::string text;
};

/// What becomes of a server and adapter document.
struct DocumentCheck {
    enum class Verdict {
        kUsable,
        kNothingToAdvertise, ///< the plug-in takes the document, and no adapter can start
        kDropped,            ///< the plug-in ignores the document
    };
    Verdict verdict;
    std::vector<Finding> findings; ///< in the order of the lines
};

/// Reads a document as the plug-in does and explains the result.
///
/// @param devices  the machine's, with which the adapters are compared; without them they are not
///
/// Thread-safe.
DocumentCheck CheckDocument(const std::string& document, const std::optional<Devices>& devices);

/// A name for people and programs: "dropped", "port", "adapter", "skipped", "note".
const char* ToText(Finding::Kind kind);
/// The same: "usable", "nothing to advertise", "dropped".
const char* ToText(DocumentCheck::Verdict verdict);

/// "LINE: kind: text".
std::string ToText(const Finding& finding);

} // namespace kx::tools
