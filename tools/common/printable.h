#pragma once

#include "text.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <string>

namespace kx::tools {

/// Makes a text from elsewhere fit for one line of a terminal: bytes of control characters, those
/// that UTF-8 writes as C2 80 to C2 9F included, become "\xhh". Much of what is printed came over
/// the network, where anybody may have sent it.
///
/// Threads: any.
inline std::string Printable(const std::string& text)
{
    const auto codeAt = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const auto isC1 = [&](std::size_t index) {
        return codeAt(index) == 0xc2 && codeAt(index + 1) >= 0x80 && codeAt(index + 1) < 0xa0;
    };
    std::string printable;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const unsigned code = codeAt(index);
        if (code >= 0x20 && code != 0x7f && !isC1(index) && !(index > 0 && isC1(index - 1))) {
            printable += text[index];
            continue;
        }
        char escaped[sizeof("\\xhh")];
        std::snprintf(escaped, sizeof(escaped), "\\x%02x", code);
        printable += escaped;
    }
    return printable;
}

/// A time to the millisecond.
///
/// @param toCalendar  gmtime_r or localtime_r
/// @param format      of what stands before the milliseconds, as of strftime(3)
///
/// Threads: any.
inline std::string TimeText(std::chrono::system_clock::time_point time,
                            decltype(&localtime_r) toCalendar, const char* format)
{
    using std::chrono::milliseconds;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    const auto sinceEpoch = std::chrono::duration_cast<milliseconds>(time.time_since_epoch());
    std::tm calendar{};
    toCalendar(&seconds, &calendar);
    return Compose(std::put_time(&calendar, format), ".", std::setfill('0'), std::setw(3),
                   sinceEpoch.count() % 1000);
}

} // namespace kx::tools
