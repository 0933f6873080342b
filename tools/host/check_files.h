#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// Checks server and adapter documents (pelorin/plugin.h) as CheckDocument does, and prints the
/// results on standard output.
///
/// @param names      files; "-" is standard input
/// @param elsewhere  true: the adapters are not compared with the devices of this machine
/// @param json       prints one JSON object per document; otherwise a line for each finding and one
///                   for the verdict
/// @return the exit status: 0 if all documents are usable, otherwise 1
///
/// Errors: std::runtime_error when a file or the devices cannot be read (nothing is printed then),
/// or when standard output cannot be written.
int CheckFiles(const std::vector<std::string>& names, bool elsewhere, bool json);

} // namespace kx::tools
