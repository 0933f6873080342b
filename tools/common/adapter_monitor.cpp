#include "adapter_monitor.h"

#include "text.h"

#include <netlink/msg.h>
#include <netlink/object.h>
#include <netlink/route/link.h>
#include <netlink/socket.h>

#include <linux/rtnetlink.h>
#include <new>
#include <stdexcept>
#include <utility>

namespace kx::tools {
namespace {

void ThrowOnError(int error)
{
    if (error < 0)
        throw std::runtime_error(
            Compose("cannot watch the network adapters: ", nl_geterror(error)));
}

void NoteDeletedLink(nl_object* object, void* deleted)
{
    if (nl_object_get_msgtype(object) != RTM_DELLINK)
        return;
    auto* link = reinterpret_cast<rtnl_link*>(object);
    // Not AF_BRIDGE: in that family the kernel announces a device as deleted when it only leaves a
    // bridge.
    if (rtnl_link_get_family(link) == AF_UNSPEC)
        static_cast<std::set<int>*>(deleted)->insert(rtnl_link_get_ifindex(link));
}

int OnAnnouncement(nl_msg* message, void* deleted)
{
    nl_msg_parse(message, NoteDeletedLink, deleted);
    return NL_OK;
}

} // namespace

void CAdapterMonitor::FreeSocket::operator()(nl_sock* freed) const
{
    nl_socket_free(freed);
}

// Does not use libnl's link cache, which may list a device a second time, in the IPv6 family. The
// kernel announces no deletions in that family: a deleted device would stay in the cache.
CAdapterMonitor::CAdapterMonitor() : socket(nl_socket_alloc())
{
    if (!socket)
        throw std::bad_alloc();
    // Announcements answer no request, so they do not have the sequence number that libnl expects.
    nl_socket_disable_seq_check(socket.get());
    ThrowOnError(
        nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, OnAnnouncement, &deleted));
    ThrowOnError(nl_connect(socket.get(), NETLINK_ROUTE));
    ThrowOnError(nl_socket_set_nonblocking(socket.get()));
    ThrowOnError(nl_socket_add_memberships(socket.get(), RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, 0));
}

int CAdapterMonitor::Descriptor() const
{
    return nl_socket_get_fd(socket.get());
}

std::set<int> CAdapterMonitor::ReadDeleted()
{
    // nl_recvmsgs_default fails when no announcement is left, and once after the kernel dropped
    // some. Those that are left then keep the descriptor readable, so the caller calls again.
    while (nl_recvmsgs_default(socket.get()) >= 0)
        continue;
    return std::exchange(deleted, {});
}

} // namespace kx::tools
