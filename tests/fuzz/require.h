#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run with a finding when a property does not hold.
///
/// The targets do not copy the input: the fuzzer passes it in a block of exactly its size, so that
/// AddressSanitizer detects a read past its end.
inline void Require(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    std::abort();
}
