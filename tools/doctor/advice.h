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

/// Returns the advice for a finding.
///
/// Errors: std::logic_error for a finding that the table does not list.
/// Thread-safe.
const Advice& AdviceFor(const Finding& finding);

/// Fills in an advice's text: {adapter} is the finding's adapter, any other {word} the text of that
/// name in the finding's evidence.
std::string FillIn(const std::string& text, const Finding& finding);

} // namespace kx::tools
