#pragma once

#include "finding.h"

#include <iosfwd>

namespace kx::tools {

/// As text without or with colours, or as JSON.
enum class ReportForm { kPlain, kColored, kJson };

/// Prints findings, the worst last. Each is a block of text or, in JSON, one line.
void Print(std::ostream& out, const Findings& findings, ReportForm form);

} // namespace kx::tools
