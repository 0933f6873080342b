#pragma once

#include <iostream>
#include <string>

namespace kx::tools {

/// A line at the end of the terminal, on standard error, that is rewritten in place. Clear it
/// before anything else is printed. Not thread-safe.
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
