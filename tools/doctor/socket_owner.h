#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace kx::tools {

/// The process that has a socket open; if several have, the one with the lowest number.
struct SocketOwner {
    int process;
    std::string name; ///< as in /proc/PID/comm
};

/// Finds the processes that own sockets, in /proc (proc(5)). Only root sees the descriptors of
/// other users' processes; sockets without a known owner are left out.
///
/// Thread-safe.
std::map<std::uint32_t, SocketOwner> FindSocketOwners(const std::set<std::uint32_t>& inodes);

} // namespace kx::tools
