#pragma once

#include <string>

namespace kx::tools {

/// Returns the version of this tool's package, with the commit if the build knew it: "8.6.2.115651
/// (commit 0123456789ab)". "-dirty" follows the commit if the sources differ from it. Thread-safe.
std::string VersionText();

} // namespace kx::tools
