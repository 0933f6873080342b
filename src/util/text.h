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

template <class Piece>
inline constexpr bool kIsText = std::is_convertible_v<const Piece&, std::string_view>;

/// Returns whether a piece is a text or an integer. Characters and booleans count as neither.
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
        // digits10 is one less than the longest number needs; the sign takes one more.
        char digits[std::numeric_limits<Piece>::digits10 + 2];
        text.append(digits, std::to_chars(digits, std::end(digits), piece).ptr);
    }
}

/// Joins its arguments into one text, each as std::ostream would print it in the classic locale.
/// Every number that the plug-in sends or logs goes through here: the host may have set a global
/// locale with digit grouping, in which a plain stream prints port 22609 as 22,609.
///
/// Texts and integers are joined without a stream: constructing one takes longer than composing the
/// message.
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
