#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// Prints on standard output what becomes of each of these server and adapter documents.
///
/// @param names      files; "-" is standard input
/// @param elsewhere  leaves out the comparison with this machine's devices
/// @param json       prints an object a document instead of lines
/// @return the exit status: 0 if all are usable, otherwise 1
///
/// Errors: std::exception when a file cannot be read; nothing is printed then.
int CheckFiles(const std::vector<std::string>& names, bool elsewhere, bool json);

} // namespace kx::tools
