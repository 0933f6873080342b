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

/// Replaces each {word} in a text of an advice: {adapter} and the names of texts in the evidence.
std::string FillIn(const std::string& text, const Finding& finding);

} // namespace kx::tools
