#pragma once

#include "adapter.h"

#include <string>
#include <vector>

namespace kx::tools {

/// Builds the document by which a server tells a plug-in its port and its adapters, all of them
/// connected. The device name is the adapter's handle.
///
/// Threads: any.
std::string MakeServerDocument(int port, const std::vector<Adapter>& adapters);

} // namespace kx::tools
