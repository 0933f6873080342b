#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace kx::tools {

/// The process that has a socket open; where several have, the one with the lowest number.
struct SocketOwner {
    int process;
    std::string name; ///< as in /proc/PID/comm
};

/// Finds out whose the sockets are, in /proc (proc(5)). Of other users' processes only root sees
/// the descriptors: what is not found is not in the result.
///
/// Thread-safe.
std::map<std::uint32_t, SocketOwner> FindSocketOwners(const std::set<std::uint32_t>& inodes);

} // namespace kx::tools
