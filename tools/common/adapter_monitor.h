#pragma once

#include <chrono>
#include <memory>
#include <set>

struct nl_sock;

namespace kx::tools {

/// Time to wait after a change before the adapters are read. Changes come in bursts: a new adapter
/// is announced several times before it has its address.
inline constexpr std::chrono::milliseconds kAdapterGatherTime{75};

/// Tells when the machine's adapters or their addresses change, over rtnetlink(7). What they have
/// become is for ReadAdapters to find out: it sees them in the kernel's order, and sees all of them
/// also when so much was announced at once that the kernel dropped some of it.
///
/// Threads: one.
class CAdapterMonitor {
public:
    /// What changes from here on is announced.
    ///
    /// Errors: std::runtime_error.
    CAdapterMonitor();

    /// Readable, as poll(2) has it, as soon as something was announced.
    int Descriptor() const;

    /// Takes in what was announced, without waiting.
    ///
    /// @return the indexes of the devices that were deleted
    std::set<int> TakeDeleted();

private:
    struct FreeSocket {
        void operator()(nl_sock* freed) const;
    };
    std::set<int> deleted; // outlives the socket, which is told where it is
    std::unique_ptr<nl_sock, FreeSocket> socket;
};

} // namespace kx::tools
