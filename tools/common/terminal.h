#pragma once

#include <cstddef>
#include <string>

namespace kx::tools {

// Escape sequences that change the colour of the text after them, see console_codes(4).
inline constexpr char kRed[] = "\033[31m";
inline constexpr char kGreen[] = "\033[32m";
inline constexpr char kYellow[] = "\033[33m";
inline constexpr char kMagenta[] = "\033[35m";
inline constexpr char kCyan[] = "\033[36m";
inline constexpr char kDefaultColor[] = "\033[0m";

/// Returns whether to print in colours: standard output is a terminal, and NO_COLOR in the
/// environment is unset or empty. Thread-safe.
bool WantsColor();

/// Returns the columns of the terminal on standard output; if unknown, COLUMNS in the environment
/// if that is a positive number, else 80. Thread-safe.
std::size_t TerminalWidth();

/// Breaks a text into lines at its spaces. Between words, several spaces become one and line feeds
/// stay. A word longer than a line gets a separate line.
///
/// @param width   columns of a line; 0 counts as 1
/// @param indent  spaces at the beginning of each line except the first, not counted in `width`
/// @return the lines without a line feed at the end
///
/// Thread-safe.
std::string Wrap(const std::string& text, std::size_t width, std::size_t indent = 0);

} // namespace kx::tools
