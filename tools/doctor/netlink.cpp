#include "netlink.h"

#include <netlink/socket.h>

#include <new>

namespace kx::tools {
namespace {

struct FreeSocket {
    void operator()(nl_sock* socket) const { nl_socket_free(socket); }
};

int OnValid(nl_msg* message, void* handler)
{
    (*static_cast<const std::function<void(nlmsghdr*)>*>(handler))(nlmsg_hdr(message));
    return NL_OK;
}

} // namespace

NetlinkMessage MakeNetlinkMessage(int type, int flags)
{
    NetlinkMessage message(nlmsg_alloc_simple(type, flags));
    if (!message)
        throw std::bad_alloc();
    return message;
}

int AskKernel(int protocol, nl_msg* request, const std::function<void(nlmsghdr*)>& onAnswer)
{
    const std::unique_ptr<nl_sock, FreeSocket> socket(nl_socket_alloc());
    if (!socket)
        throw std::bad_alloc();
    nl_socket_disable_auto_ack(socket.get()); // no ACK is needed: the kernel answers
    auto* handler = const_cast<std::function<void(nlmsghdr*)>*>(&onAnswer);
    nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, OnValid, handler);
    int error = nl_connect(socket.get(), protocol);
    if (error >= 0)
        error = nl_send_auto(socket.get(), request);
    if (error >= 0)
        error = nl_recvmsgs_default(socket.get());
    return error < 0 ? error : 0;
}

} // namespace kx::tools
