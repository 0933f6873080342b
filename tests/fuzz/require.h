#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run with a finding when a property does not hold.
///
/// The targets hand on the input where it is: the fuzzer gives it in a block of exactly its size,
/// so that reading behind it faults under AddressSanitizer.
inline void Require(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    std::abort();
}
