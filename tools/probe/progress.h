#pragma once

#include <iostream>
#include <string>

namespace kx::tools {

/// A line at the end of the terminal that standard error is, rewritten in place. It has to be
/// cleared before anything else is printed.
///
/// Threads: one.
class CProgress {
public:
    CProgress() = default;
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    ~CProgress() { Clear(); }

    void Show(const std::string& text)
    {
        // console_codes(4): back to the line's start and erase to its end.
        if (text != shown)
            std::cerr << "\r\033[K" + text << std::flush;
        shown = text;
    }
    void Clear() { Show(""); }

private:
    std::string shown;
};

} // namespace kx::tools
