#pragma once

#include "finding.h"

#include <string>
#include <vector>

namespace kx::tools {

/// What a finding means and what to do about it.
struct Advice {
    const char* name;
    const char* variant; ///< see Finding; "" for the usual one
    const char* lookedAt;
    const char* means;
    const char* remedy;                ///< "" when nothing is to be done
    std::vector<const char*> commands; ///< to be copied into a shell
};

/// Looks a finding's advice up.
///
/// Errors: std::logic_error for a finding that the table does not list.
/// Threads: any.
const Advice& AdviceFor(const Finding& finding);

/// A text of an advice with its {words} filled in: {adapter}, and what the evidence holds as text
/// under that name.
std::string FillIn(const std::string& text, const Finding& finding);

} // namespace kx::tools
