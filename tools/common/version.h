#pragma once

#include <string>

namespace kx::tools {

/// Returns the version of this tool's package. A build in a git repository adds the commit, with
/// "-dirty" if the sources differ from it: "8.6.2.115651 (commit 0123456789ab-dirty)". Thread-safe.
std::string VersionText();

} // namespace kx::tools
