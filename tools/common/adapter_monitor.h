#pragma once

#include <chrono>
#include <memory>
#include <set>

struct nl_sock;

namespace kx::tools {

/// Time to wait after a change before the adapters are read. Changes come in bursts: a new adapter
/// is announced several times before it has its address.
inline constexpr std::chrono::milliseconds kAdapterGatherTime{75};

/// Reports that adapters of this machine or their addresses changed, over rtnetlink(7). Call
/// ReadAdapters for the new state: it is complete even when the kernel dropped announcements
/// because there were too many.
///
/// Not thread-safe.
class CAdapterMonitor {
public:
    /// Reports changes from now on.
    ///
    /// Errors: std::runtime_error.
    CAdapterMonitor();

    /// Returns a descriptor that becomes readable, as for poll(2), when something changes.
    int Descriptor() const;

    /// Reads the announcements that have arrived, without waiting.
    ///
    /// @return the indexes of the devices that were deleted since the last call
    std::set<int> ReadDeleted();

private:
    struct FreeSocket {
        void operator()(nl_sock* freed) const;
    };
    std::set<int> deleted; // outlives the socket, whose callback writes to it
    std::unique_ptr<nl_sock, FreeSocket> socket;
};

} // namespace kx::tools
