#pragma once

#include <cstdio>
#include <cstdlib>

/// Aborts the process if a property does not hold; libFuzzer then reports and keeps the input.
inline void Require(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    std::abort();
}
