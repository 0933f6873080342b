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
    std::vector<const char*> commands; ///< for a shell
};

/// Returns the advice for a finding.
///
/// Errors: std::logic_error when advice.cpp has none.
/// Thread-safe.
const Advice& AdviceFor(const Finding& finding);

/// Replaces {adapter} in a text or command of an advice by the finding's adapter, and any other
/// {word} by the text that the evidence has under this name.
///
/// Errors: nlohmann::json::exception when the evidence has no such text.
/// Thread-safe.
std::string FillIn(const std::string& text, const Finding& finding);

} // namespace kx::tools
