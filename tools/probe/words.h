#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// The words as one text, with single blanks between them. Threads: any.
inline std::string Join(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

} // namespace kx::tools
