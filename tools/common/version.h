#pragma once

#include <string>

namespace kx::tools {

/// Returns the version of this tool's package. If the tool was built in a git repository, the
/// commit follows, with "-dirty" if the sources differ from the commit:
/// "8.6.2.115651 (commit 0123456789ab-dirty)". Thread-safe.
std::string VersionText();

} // namespace kx::tools
