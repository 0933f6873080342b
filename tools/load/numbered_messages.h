#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx::tools {

/// Stands for the message's identifier in a template. A template is the text of a message.
inline constexpr char kIdentifierMark[] = "{id}";

/// The messages of one run: copies of the templates in turn, each with an identifier of its own.
///
/// An identifier is "urn:uuid:" and a UUID, whose last group is the message's number. The other
/// groups are the same throughout the run. NumberIn searches an answer's text for these groups:
/// parsing the XML would be slower than the servers that are measured.
class CNumberedMessages {
public:
    /// @param templates  at least one; each kIdentifierMark in them is replaced
    ///
    /// Errors: a broken random device ends the process, see NewUuidString.
    explicit CNumberedMessages(const std::vector<std::string>& templates);

    /// Writes a message.
    ///
    /// @param number   below 2^48
    /// @param message  out: replaced; its memory is reused
    void Write(std::uint64_t number, std::string& message) const;

    /// Returns the number of the message that an answer relates to; nothing if it relates to none
    /// of this run.
    std::optional<std::uint64_t> NumberIn(std::string_view answer) const;

private:
    struct Template {
        std::string text;
        std::vector<std::size_t> digitsAt;
    };

    std::string identifier; ///< the part before the number
    std::vector<Template> templates;
};

} // namespace kx::tools
