#pragma once

#include "finding.h"

#include <iosfwd>

namespace kx::tools {

/// How findings are printed.
enum class ReportForm { kPlain, kColored, kJson };

/// Prints findings, the worst last: a block each, or a line of JSON each.
void Print(std::ostream& out, const Findings& findings, ReportForm form);

} // namespace kx::tools
