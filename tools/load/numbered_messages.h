#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx::tools {

/// Stands for the message's identifier in a template.
inline constexpr char kIdentifierMark[] = "{id}";

/// The messages of one run: copies of alternating templates, each with a unique identifier.
///
/// An identifier is a UUID. Its last group is the message's number, the others are the same for the
/// run, so that a text search finds the number in an answer: a load generator that parsed XML would
/// be slower than the servers that it measures.
class CNumberedMessages {
public:
    /// @param templates  at least one; each kIdentifierMark in them is replaced
    ///
    /// Errors: a broken random device ends the process, see NewUuidString.
    explicit CNumberedMessages(const std::vector<std::string>& templates);

    /// Writes a message.
    ///
    /// @param number   below 2^48
    /// @param message  out: replaced; its memory is used again
    void Write(std::uint64_t number, std::string& message) const;

    /// Returns the number of the message that an answer relates to, if this run sent it.
    std::optional<std::uint64_t> NumberIn(std::string_view answer) const;

private:
    struct Template {
        std::string text;
        std::vector<std::size_t> digitsAt;
    };

    std::string identifier; ///< up to the number
    std::vector<Template> templates;
};

} // namespace kx::tools
