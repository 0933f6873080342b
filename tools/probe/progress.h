#pragma once

#include <iostream>
#include <string>

namespace kx::tools {

/// One line on standard error that shows the progress. Call Show only if standard error is a
/// terminal; each call replaces the text. Call Clear before anything else is printed, which would
/// otherwise appear on the same line. Not thread-safe.
class CProgress {
public:
    CProgress() = default;
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    ~CProgress() { Clear(); }

    void Show(const std::string& text)
    {
        // console_codes(4): "\r" moves to the start of the line, "\033[K" erases to its end.
        if (text != shown)
            std::cerr << "\r\033[K" + text << std::flush;
        shown = text;
    }
    void Clear() { Show(""); }

private:
    std::string shown;
};

} // namespace kx::tools
