#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx::tools {

/// What stands in a message where its identifier goes.
inline constexpr char kIdentifierMark[] = "{id}";

/// The messages of one run, alike but for their identifiers. An identifier is a UUID whose last
/// group is a number and whose others are the run's own, so that what answers to it is found by
/// plain search: a load generator that read XML would be slower than what it measures.
class CNumberedMessage {
public:
    /// @param form  the message with kIdentifierMark wherever its identifier goes, if at all
    ///
    /// Errors: a broken random device ends the process, see NewUuidString.
    explicit CNumberedMessage(std::string form);

    /// Message number 0.
    const std::string& Text() const { return text; }

    /// Turns a message of this run into another.
    ///
    /// @param message  a copy of Text()
    /// @param number   below 2^48
    void Number(std::string& message, std::uint64_t number) const;

    /// The number of the message that an answer relates to, if it is one of this run's.
    std::optional<std::uint64_t> NumberIn(std::string_view answer) const;

private:
    std::string identifier; ///< up to the number
    std::string text;
    std::vector<std::size_t> digitsAt;
};

} // namespace kx::tools
