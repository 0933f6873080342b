#pragma once

#include <string>

namespace kx::tools {

/// Returns the words of a container as one text with a separator between them. Thread-safe.
template <class Words>
std::string Join(const Words& words, const char* separator = " ")
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

} // namespace kx::tools
