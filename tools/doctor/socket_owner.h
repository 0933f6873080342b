#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace kx::tools {

/// The process that has a socket open; of several, the one with the lowest number.
struct SocketOwner {
    int process;
    std::string name; ///< the text of /proc/PID/comm
};

/// Searches /proc (proc(5)) for the owners of sockets. Only root sees the descriptors of other
/// users' processes.
///
/// @return the owners that were found, by inode
///
/// Thread-safe.
std::map<std::uint32_t, SocketOwner> FindSocketOwners(const std::set<std::uint32_t>& inodes);

} // namespace kx::tools
