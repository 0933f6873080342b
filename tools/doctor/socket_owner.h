#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace kx::tools {

/// The process that has a socket open; if several have it open, the one with the lowest number.
struct SocketOwner {
    int process;
    std::string name; ///< the text of /proc/PID/comm
};

/// Searches /proc (proc(5)) for the owners of sockets. Only root sees the descriptors of other
/// users' processes.
///
/// @return the owners by inode, without the sockets whose owner is not found
///
/// Thread-safe.
std::map<std::uint32_t, SocketOwner> FindSocketOwners(const std::set<std::uint32_t>& inodes);

} // namespace kx::tools
