#pragma once

#include <cstdio>
#include <string>

namespace kx::tools {

/// Makes a text from elsewhere fit for one line of a terminal: control characters become "\xhh".
/// Much of what is printed came over the network, where anybody may have sent it.
///
/// Threads: any.
inline std::string Printable(const std::string& text)
{
    std::string printable;
    for (const char each : text) {
        const auto code = static_cast<unsigned char>(each);
        if (code >= 0x20 && code != 0x7f) {
            printable += each;
            continue;
        }
        char escaped[sizeof("\\xhh")];
        std::snprintf(escaped, sizeof(escaped), "\\x%02x", code);
        printable += escaped;
    }
    return printable;
}

} // namespace kx::tools
