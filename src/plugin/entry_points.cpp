#include "entry_points.h"

#include "discovery_run_loop.h"
#include "module_registration.h"
#include "plugin_context.h"
#include "send_to_host.h"
#include "server_document.h"

#include <chrono>
#include <thread>

namespace {

constexpr std::chrono::milliseconds kUnloadPollInterval{10};

/// Made by the first Load, freed by Unload, during which no other entry point is entered.
kx::PluginContext* context = nullptr;

} // namespace

std::uint64_t Load(const kx::LoadRequest* request, kx::LoadReply* reply)
{
    kx::SetHostCallback(request->callback);

    reply->moduleId = kx::kModuleId;
    reply->fixed16 = 0;
    reply->fixed24 = 0;
    reply->fixed32 = 0x3000010;
    reply->fixed40 = 0;
    reply->fixed48 = 0;
    reply->fixed56 = 0;
    reply->fixed64 = 0x1000010;
    reply->fixed72 = 0;
    reply->fixed96 = 1;
    reply->fixed97 = 0;
    reply->fixed98 = 0;
    reply->fixed99 = 1;
    reply->fixed100 = 0;
    reply->fixed101 = 0;
    reply->fixed104 = 0;

    if (!context)
        context = new kx::PluginContext;
    return 0;
}

std::uint64_t Unload(const void* /*request*/, kx::StatusReply* reply)
{
    if (context) {
        while (context->running)
            std::this_thread::sleep_for(kUnloadPollInterval);
        delete context;
        context = nullptr;
    }
    reply->status = 0;
    return 0;
}

std::uint64_t Open(const void* /*request*/, kx::OpenReply* reply)
{
    kx::SendModuleRegistration();
    reply->status = 0;
    reply->fixed12 = 0;
    return 0;
}

std::uint64_t Close(const void* /*request*/, kx::StatusReply* reply)
{
    if (context) {
        context->stopRequested = true;
        context->condition.notify_all();
    }
    reply->status = 0;
    return 0;
}

std::uint64_t Read(const kx::TransferRequest* request, kx::TransferReply* reply)
{
    reply->result = 0U - request->flag12;
    return 0;
}

std::uint64_t Write(const kx::TransferRequest* request, kx::TransferReply* reply)
{
    if (request->flag12 != 0 || request->destination == kx::kModuleId)
        reply->result = 0;
    return 0;
}

std::uint64_t Seek(const void* /*request*/, kx::StatusReply* reply)
{
    reply->status = 0;
    return 0;
}

std::uint64_t IOCTL(const kx::IoctlRequest* request, kx::IoctlReply* reply)
{
    if (request->code == kx::kRunDiscovery)
        kx::RunDiscoveryLoop(*context);
    else if (request->code == kx::kApplyServerDocument)
        kx::ApplyServerDocument(*context, request->data, request->dataLength);
    reply->status = 0;
    return 0;
}
