#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kx::tools {

/// The network devices of a machine by name, with their IPv4 addresses.
using Devices = std::map<std::string, std::set<std::string>>;

/// Reads the network devices of this machine. Errors: std::runtime_error.
Devices ReadDevices();

/// One result of CheckDocument, about one line of the document.
struct DocumentFinding {
    enum class Kind {
        kDropped, ///< why the plug-in drops the document
        kPort,    ///< the port that the plug-in advertises, and whether the document sets it
        kUsed,    ///< an adapter that the plug-in accepts; a kNote tells if it is not started
        kSkipped, ///< an adapter that the plug-in leaves out, and why
        kNote,    ///< anything else to know, such as an address that this machine lacks
    };
    Kind kind;
    int line; ///< in the document, from 1
    std::string text;
};

/// What the plug-in does with a server and adapter document (pelorin/plugin.h), and why.
struct DocumentCheck {
    enum class Verdict {
        kUsable,             ///< at least one adapter can start if its device exists
        kNothingToAdvertise, ///< the plug-in accepts the document, but no adapter can start
        kDropped,            ///< the plug-in ignores the document
    };
    Verdict verdict;
    std::vector<DocumentFinding> findings; ///< in the order of the lines
};

/// Reads a document as the plug-in does and explains the result.
///
/// @param document  its text, at most 2^31 - 1 bytes, the limit of PelorinIoctlRequest
/// @param devices   devices of this machine, to compare the adapters with; none: no comparison
///
/// Thread-safe.
DocumentCheck CheckDocument(const std::string& document, const std::optional<Devices>& devices);

/// Returns "dropped", "port", "adapter", "skipped" or "note".
const char* ToText(DocumentFinding::Kind kind);
/// Returns "usable", "nothing to advertise" or "dropped".
const char* ToText(DocumentCheck::Verdict verdict);

/// Returns "LINE: KIND: TEXT".
std::string ToText(const DocumentFinding& finding);

} // namespace kx::tools
