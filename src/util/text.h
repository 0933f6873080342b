#pragma once

#include <charconv>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace kx {

/// Whether a piece converts to std::string_view.
template <class Piece>
inline constexpr bool kIsText = std::is_convertible_v<const Piece&, std::string_view>;

/// Returns whether AppendPlain appends a piece as a stream would: true for a text and for an
/// integer of more than one byte. A stream prints char and std::uint8_t as characters.
template <class Piece>
constexpr bool IsPlain()
{
    if constexpr (std::is_integral_v<Piece>)
        return sizeof(Piece) > sizeof(char);
    else
        return kIsText<Piece>;
}

/// Appends a text unchanged, or an integer in decimal without digit grouping.
template <class Piece>
void AppendPlain(std::string& text, const Piece& piece)
{
    if constexpr (kIsText<Piece>) {
        text += std::string_view(piece);
    } else {
        // The longest number has digits10 + 1 digits and a minus sign.
        char digits[std::numeric_limits<Piece>::digits10 + 2];
        text.append(digits, std::to_chars(digits, std::end(digits), piece).ptr);
    }
}

/// Joins its arguments into one text, each printed as std::ostream does in the classic locale. With
/// the global locale, which the host may have set, port 22609 could become 22,609.
///
/// Uses no stream if IsPlain is true for all arguments: constructing one would take longer than the
/// rest of the work.
///
/// Thread-safe.
template <class... Pieces>
std::string Compose(const Pieces&... pieces)
{
    if constexpr ((IsPlain<Pieces>() && ...)) {
        std::string text;
        (AppendPlain(text, pieces), ...);
        return text;
    } else {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        (text << ... << pieces);
        return text.str();
    }
}

/// Returns whether the last bytes of `text` are `end`.
inline bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace kx
