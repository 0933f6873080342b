#include "send_to_host.h"

#include <atomic>

namespace kx {
namespace {

/// Atomic, because a second Load may replace it while a run is sending log records.
std::atomic<HostCallback> hostCallback{nullptr};

} // namespace

void SetHostCallback(HostCallback callback)
{
    hostCallback = callback;
}

std::uint32_t SendToHost(std::uint64_t command, const char* data, std::uint32_t length)
{
    HostRequest request{};
    request.size = sizeof(request);
    request.fixed4 = 1;
    request.dataLength = length;
    request.data = data;
    request.sender = kModuleId;
    request.command = command;
    request.fixed48 = 0x1000010;

    HostReply reply{};
    reply.size = sizeof(reply);
    reply.fixed4 = 1;

    hostCallback.load()(&request, &reply);
    return reply.status;
}

void SendDocument(std::uint64_t command, const tinyxml2::XMLDocument& document)
{
    tinyxml2::XMLPrinter printer;
    document.Accept(&printer);
    // CStrSize counts the NUL.
    SendToHost(command, printer.CStr(), static_cast<std::uint32_t>(printer.CStrSize()));
}

} // namespace kx
