#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// Returns the words as one text, with single spaces between them. Thread-safe.
inline std::string Join(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

} // namespace kx::tools
