#include "adapter_monitor.h"

#include "text.h"

#include <netlink/cache.h>
#include <netlink/route/link.h>

#include <stdexcept>
#include <utility>

namespace kx::tools {
namespace {

void Check(int error)
{
    if (error < 0)
        throw std::runtime_error(
            Compose("cannot watch the network adapters: ", nl_geterror(error)));
}

void OnLinkChange(nl_cache* /*cache*/, nl_object* object, int action, void* deleted)
{
    auto* link = reinterpret_cast<rtnl_link*>(object);
    // A device that leaves a bridge is announced as deleted too, in the bridge's family.
    if (action == NL_ACT_DEL && rtnl_link_get_family(link) == AF_UNSPEC)
        static_cast<std::set<int>*>(deleted)->insert(rtnl_link_get_ifindex(link));
}

} // namespace

void CAdapterMonitor::FreeManager::operator()(nl_cache_mngr* freed) const
{
    nl_cache_mngr_free(freed);
}

CAdapterMonitor::CAdapterMonitor()
{
    nl_cache_mngr* made = nullptr;
    Check(nl_cache_mngr_alloc(nullptr, NETLINK_ROUTE, 0, &made));
    manager.reset(made);
    nl_cache* ignored = nullptr; // the manager's to free
    Check(nl_cache_mngr_add(made, "route/link", OnLinkChange, &deleted, &ignored));
    Check(nl_cache_mngr_add(made, "route/addr", nullptr, nullptr, &ignored));
}

int CAdapterMonitor::Descriptor() const
{
    return nl_cache_mngr_get_fd(manager.get());
}

std::set<int> CAdapterMonitor::TakeDeleted()
{
    // Fails when the kernel had to drop announcements; ReadAdapters does not need them.
    nl_cache_mngr_data_ready(manager.get());
    return std::exchange(deleted, {});
}

} // namespace kx::tools
