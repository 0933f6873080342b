#include "socket_owner.h"

#include "text.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace kx::tools {
namespace {

std::string NameOf(const fs::path& process)
{
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

} // namespace

std::map<std::uint32_t, SocketOwner> FindSocketOwners(const std::set<std::uint32_t>& inodes)
{
    std::map<std::string, std::uint32_t> wanted;
    for (const std::uint32_t inode : inodes)
        wanted[Compose("socket:[", inode, "]")] = inode;

    std::map<std::uint32_t, SocketOwner> owners;
    std::error_code ignored; // the process may end meanwhile or belong to another user
    for (const fs::directory_entry& process : fs::directory_iterator("/proc", ignored)) {
        const int number = std::atoi(process.path().filename().c_str());
        if (number <= 0)
            continue;
        for (const fs::directory_entry& descriptor :
             fs::directory_iterator(process.path() / "fd", ignored)) {
            const auto found = wanted.find(fs::read_symlink(descriptor.path(), ignored).string());
            if (found == wanted.end())
                continue;
            const auto owner = owners.find(found->second);
            if (owner == owners.end() || number < owner->second.process)
                owners[found->second] = {number, NameOf(process.path())};
        }
    }
    return owners;
}

} // namespace kx::tools
