#pragma once

#include <chrono>
#include <memory>
#include <set>

struct nl_sock;

namespace kx::tools {

/// Time to wait after a change before the adapters are read. Changes come in bursts: a new adapter
/// is announced several times before it has its address. A longer burst causes a second reading.
inline constexpr std::chrono::milliseconds kAdapterGatherTime{75};

/// Time to wait after the adapters could not be read.
inline constexpr std::chrono::seconds kAdapterRetryTime{2};

/// Reports over rtnetlink(7) that adapters or their IPv4 addresses have changed. Call ReadAdapters
/// for the new state: its result is complete even if the kernel dropped announcements.
///
/// Not thread-safe.
class CAdapterMonitor {
public:
    /// Reports changes from now on.
    ///
    /// Errors: std::runtime_error.
    CAdapterMonitor();

    /// Neither copied nor moved: the socket holds the address of `deleted`.
    CAdapterMonitor(const CAdapterMonitor&) = delete;
    CAdapterMonitor& operator=(const CAdapterMonitor&) = delete;

    /// Returns a descriptor that becomes readable, as for poll(2), when something changes.
    int Descriptor() const;

    /// Reads the announcements that have arrived, without waiting.
    ///
    /// @return the indexes of the devices deleted since the last call, except those whose
    ///         announcement the kernel dropped
    std::set<int> ReadDeleted();

private:
    struct FreeSocket {
        void operator()(nl_sock* freed) const;
    };
    std::set<int> deleted; // the callback of the socket writes to it, so it outlives the socket
    std::unique_ptr<nl_sock, FreeSocket> socket;
};

} // namespace kx::tools
