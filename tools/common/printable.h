#pragma once

#include "text.h"

#include <chrono>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <string>

namespace kx::tools {

/// Makes a text from elsewhere fit for one line of a terminal: all that fills no column of its own
/// becomes "\xhh" for each of its bytes, as control characters, marks that turn the direction of
/// writing, and what is no UTF-8. Much of what is printed came over the network, where anybody may
/// have sent it.
///
/// Threads: any.
std::string Printable(const std::string& text);

/// How many columns of a terminal a text fills that Printable made. Threads: any.
std::size_t ColumnCount(const std::string& printable);

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
