#include "adapter_check.h"

#include <algorithm>
#include <net/if.h>

namespace kx::tools {
namespace {

void CheckAdapter(const Adapter& adapter, CheckedAdapters& checked)
{
    const bool up = (adapter.flags & IFF_UP) != 0;
    if (adapter.addresses.empty()) {
        checked.findings.push_back({"no-adapter",
                                    Level::kFault,
                                    adapter.name,
                                    {{"exists", true}, {"addresses", adapter.addresses}},
                                    "the adapter has no IPv4 address",
                                    "no-address"});
        return;
    }
    if (!adapter.connected) {
        checked.findings.push_back(
            {"link-down",
             Level::kFault,
             adapter.name,
             {{"up", up}, {"carrier", false}},
             up ? "the adapter is up but has no carrier" : "the adapter is switched off",
             up ? "no-carrier" : ""});
        return;
    }
    if (!adapter.loopback && (adapter.flags & IFF_MULTICAST) == 0) {
        checked.findings.push_back({"no-multicast",
                                    Level::kFault,
                                    adapter.name,
                                    {{"multicast", false}},
                                    "the adapter lacks the flag MULTICAST"});
    }
    checked.usable.push_back(adapter);
}

} // namespace

CheckedAdapters CheckAdapters(const std::vector<Adapter>& all,
                              const std::vector<std::string>& names)
{
    CheckedAdapters checked;
    for (const std::string& name : names) {
        if (FindAdapters(all, {name}).empty()) {
            checked.findings.push_back({"no-adapter",
                                        Level::kFault,
                                        name,
                                        {{"exists", false}},
                                        "this machine has no adapter of that name"});
        }
    }
    for (const Adapter& each : names.empty() ? all : FindAdapters(all, names)) {
        if (!names.empty() || (!each.loopback && !each.addresses.empty()))
            CheckAdapter(each, checked);
    }
    if (checked.usable.empty() && checked.findings.empty()) {
        checked.findings.push_back({"no-adapter",
                                    Level::kFault,
                                    "",
                                    {{"exists", false}},
                                    "no adapter but loopback has an IPv4 address",
                                    "none"});
    }
    return checked;
}

} // namespace kx::tools
