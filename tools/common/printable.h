#pragma once

#include "text.h"

#include <chrono>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <string>

namespace kx::tools {

/// Escapes a text, which any machine may have sent, for one line of a terminal. Each byte of a
/// character that fills no column becomes "\xhh": control characters, marks that change the
/// direction of writing, invalid UTF-8. Thread-safe.
std::string Printable(const std::string& text);

/// Returns how many columns of a terminal a text from Printable fills. Thread-safe.
std::size_t ColumnCount(const std::string& printable);

/// Returns a time as text, with milliseconds.
///
/// @param toCalendar  gmtime_r or localtime_r
/// @param format      format of the text before the milliseconds, as for strftime(3): "%H:%M:%S"
///                    makes "12:34:56.789"
///
/// Thread-safe.
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
