#include "discovery_run_loop.h"
#include "module_registration.h"
#include "plugin_context.h"
#include "send_to_host.h"
#include "server_document.h"

#include <pelorin/plugin.h>

#include <chrono>
#include <thread>
#include <type_traits>

namespace {

constexpr std::chrono::milliseconds kUnloadPollInterval{10};

/// Null before Load and after Unload. Needs no lock: only Unload, and a Load that finds null,
/// change the pointer, and the host makes no other call meanwhile.
kx::PluginContext* context = nullptr;

} // namespace

// The contract of the entry points is in pelorin/plugin.h.
#pragma GCC visibility push(default)
extern "C" {

std::uint64_t Load(const PelorinLoadRequest* request, PelorinLoadReply* reply)
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

std::uint64_t Unload(const void* /*request*/, PelorinStatusReply* reply)
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

std::uint64_t Open(const void* /*request*/, PelorinOpenReply* reply)
{
    kx::SendModuleRegistration();
    reply->status = 0;
    reply->fixed12 = 0;
    return 0;
}

// Deliberate: takes no lock. With a lock Close could block, and hosts call it where they must not
// block. Without one, a Close between the run loop's check of stopRequested and its wait is missed:
// the run then ends only after another Close or a document has woken it.
std::uint64_t Close(const void* /*request*/, PelorinStatusReply* reply)
{
    if (context) {
        context->stopRequested = true;
        context->condition.notify_all();
    }
    reply->status = 0;
    return 0;
}

std::uint64_t Read(const PelorinTransferRequest* request, PelorinTransferReply* reply)
{
    reply->result = 0U - request->flag;
    return 0;
}

std::uint64_t Write(const PelorinTransferRequest* request, PelorinTransferReply* reply)
{
    // Deliberate: there is no else branch. A request that fails this test is for another module, to
    // which the host may pass the same reply. A result written here would overwrite that module's
    // result.
    if (request->flag != 0 || request->destination == kx::kModuleId)
        reply->result = 0;
    return 0;
}

std::uint64_t Seek(const void* /*request*/, PelorinStatusReply* reply)
{
    reply->status = 0;
    return 0;
}

std::uint64_t IOCTL(const PelorinIoctlRequest* request, PelorinIoctlReply* reply)
{
    if (request->code == PELORIN_RUN)
        kx::RunDiscoveryLoop(*context);
    else if (request->code == PELORIN_APPLY)
        kx::ApplyServerDocument(*context, request->data, request->dataLength);
    reply->status = 0;
    return 0;
}
}
#pragma GCC visibility pop

static_assert(std::is_same_v<decltype(&Load), PelorinLoad>);
static_assert(std::is_same_v<decltype(&Unload), PelorinUnload>);
static_assert(std::is_same_v<decltype(&Open), PelorinOpen>);
static_assert(std::is_same_v<decltype(&Close), PelorinClose>);
static_assert(std::is_same_v<decltype(&Read), PelorinRead>);
static_assert(std::is_same_v<decltype(&Write), PelorinWrite>);
static_assert(std::is_same_v<decltype(&Seek), PelorinSeek>);
static_assert(std::is_same_v<decltype(&IOCTL), PelorinIoctl>);
