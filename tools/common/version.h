#pragma once

#include <string>

namespace kx::tools {

/// The version of the package that this tool belongs to, with the commit where the build could tell
/// it: "8.6.2.115651 (commit 0123456789ab)". "-dirty" follows the commit when the sources differ
/// from it. Thread-safe.
std::string VersionText();

} // namespace kx::tools
