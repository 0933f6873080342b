#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace kx {

/// Streams its arguments into one text: the only way a message, a port or a version becomes text.
///
/// Numbers come out in plain decimal. The host may have set a global locale with digit grouping,
/// and a stream made without the classic locale would write port 22,609 on the wire.
///
/// Threads: any.
template <class... Pieces>
std::string Compose(const Pieces&... pieces)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    (text << ... << pieces);
    return text.str();
}

/// Whether `text` ends with `end`, byte for byte.
inline bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace kx
