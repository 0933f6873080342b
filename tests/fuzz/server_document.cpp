// Applies the input as a document of the host. Checks that it takes effect completely or not at
// all, and that pelorin-host --check reports the same.

#include "server_document.h"

#include "document_check.h"
#include "require.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr std::int32_t kPortBefore = 7;

bool IsComplete(const kx::AdapterRecord& adapter)
{
    return !adapter.ipAddress.empty() && !adapter.handle.empty() && !adapter.macAddress.empty() &&
           adapter.xAddr.empty();
}

void Apply(kx::PluginContext& context, const char* text, std::int32_t length)
{
    context.serverPort = kPortBefore;
    context.adapters.resize(1); // its fields are empty; it remains if the document is dropped
    kx::ApplyServerDocument(context, text, length);
}

auto Read(const kx::PluginContext& context)
{
    std::vector<std::tuple<std::string, std::string, std::string>> adapters;
    for (const kx::AdapterRecord& each : context.adapters)
        adapters.emplace_back(each.ipAddress, each.handle, each.macAddress);
    return std::make_pair(context.serverPort.load(), adapters);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kx::PluginContext context;
    Apply(context, reinterpret_cast<const char*>(data), static_cast<std::int32_t>(size));
    const bool dropped = context.adapters.size() == 1 && context.adapters[0].handle.empty();
    Require(!dropped || context.serverPort == kPortBefore, "no port of a dropped document");
    Require(dropped || std::all_of(context.adapters.begin(), context.adapters.end(), IsComplete),
            "adapters are complete");

    const kx::tools::DocumentCheck check =
        kx::tools::CheckDocument({reinterpret_cast<const char*>(data), size}, std::nullopt);
    using Verdict = kx::tools::DocumentCheck::Verdict;
    Require(dropped == (check.verdict == Verdict::kDropped), "the check agrees on the document");
    const auto taken = std::count_if(check.findings.begin(), check.findings.end(), [](auto& each) {
        return each.kind == kx::tools::DocumentFinding::Kind::kUsed;
    });
    Require(dropped || taken == static_cast<std::ptrdiff_t>(context.adapters.size()),
            "the check agrees on the adapters");

    // Length -1 means up to the first NUL, where the XML library stops whatever the length is.
    kx::PluginContext upToNul;
    const std::string text(reinterpret_cast<const char*>(data), size);
    Apply(upToNul, text.c_str(), -1);
    Require(Read(context) == Read(upToNul), "the length changes nothing");
    return 0;
}
