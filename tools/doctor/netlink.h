#pragma once

#include <netlink/msg.h>

#include <functional>
#include <memory>

namespace kx::tools {

struct FreeNetlinkMessage {
    void operator()(nl_msg* message) const { nlmsg_free(message); }
};
using NetlinkMessage = std::unique_ptr<nl_msg, FreeNetlinkMessage>;

/// Creates a netlink(7) request that has only a header. Errors: std::bad_alloc.
NetlinkMessage MakeNetlinkMessage(int type, int flags);

/// Sends a request to the kernel over netlink(7) and calls `onAnswer` with each message of the
/// reply.
///
/// @param protocol  such as NETLINK_ROUTE
/// @param onAnswer  must not throw: C code calls it
/// @return 0, or a negative error number for nl_geterror of libnl
///
/// Errors: std::bad_alloc.
/// Thread-safe.
int AskKernel(int protocol, nl_msg* request, const std::function<void(nlmsghdr*)>& onAnswer);

} // namespace kx::tools
