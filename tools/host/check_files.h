#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// Checks server and adapter documents (pelorin/plugin.h) as CheckDocument does, and prints the
/// results on standard output.
///
/// @param names      files; "-" is standard input
/// @param elsewhere  whether the documents are for another machine: their adapters are then not
///                   compared with the devices of this machine
/// @param json       print one object per document instead of lines
/// @return the exit status: 0 if all documents are usable, otherwise 1
///
/// Errors: std::runtime_error when a file or the devices of this machine cannot be read, before
/// anything is printed, or when standard output cannot be written.
int CheckFiles(const std::vector<std::string>& names, bool elsewhere, bool json);

} // namespace kx::tools
