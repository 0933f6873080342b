#pragma once

#include <iostream>
#include <string>

namespace kx::tools {

/// A progress line on standard error; each Show replaces it. Call Show only on a terminal, and
/// Clear before anything else is printed. Not thread-safe.
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
