#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// Checks server and adapter documents as CheckDocument does, and prints the results on standard
/// output.
///
/// @param names      files; "-" is standard input
/// @param elsewhere  do not compare with this machine's devices
/// @param json       print one object per document instead of lines
/// @return the exit status: 0 if all are usable, otherwise 1
///
/// Errors: std::exception when a file cannot be read; nothing is printed then.
int CheckFiles(const std::vector<std::string>& names, bool elsewhere, bool json);

} // namespace kx::tools
