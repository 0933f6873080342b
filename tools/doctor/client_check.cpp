#include "client_check.h"

#include "join.h"
#include "text.h"

#include <algorithm>
#include <net/if.h>
#include <utility>

using Json = nlohmann::ordered_json;

namespace kx::tools {
namespace {

Json ToJson(const SeenAnswer& answer)
{
    return {{"source", answer.source.to_string()},
            {"address", answer.device.address},
            {"xaddrs", answer.device.xaddrs},
            {"kind", answer.target.empty() ? "group" : "direct"}};
}

class CClientCheck {
public:
    explicit CClientCheck(const ClientObservation& observation) : seen(observation) {}

    Findings Run()
    {
        CheckFound();
        CheckBlocked();
        CheckDirect();
        CheckAddresses();
        if (!seen.target.empty())
            CheckTarget();
        if (!AnyAnswer(seen, "") && !AnyAnswer(seen, seen.target))
            CheckSilence();
        return std::move(findings);
    }

private:
    void CheckFound();
    void CheckBlocked();
    void CheckDirect();
    void CheckTarget();
    void CheckAddresses();
    void CheckSilence();
    bool Answered(const std::string& source) const;
    Json DirectError(const std::string& target) const;
    bool CarriesMulticast() const;

    void Add(const char* name, Level level, Json evidence, std::string text,
             std::string variant = "")
    {
        findings.push_back({name, level, seen.adapter.name, std::move(evidence), std::move(text),
                            std::move(variant)});
    }

    const ClientObservation& seen;
    Findings findings;
};

/// Returns whether this IP address answered the Probe to the group.
bool CClientCheck::Answered(const std::string& source) const
{
    return std::any_of(seen.answers.begin(), seen.answers.end(), [&](const SeenAnswer& each) {
        return each.target.empty() && each.source.to_string() == source;
    });
}

/// Returns why the Probe to an address could not be sent; null if it was sent or not tried.
Json CClientCheck::DirectError(const std::string& target) const
{
    const auto error = seen.directErrors.find(target);
    return error == seen.directErrors.end() || error->second.empty() ? Json() : Json(error->second);
}

/// Returns whether the adapter can reach the group. If not, CheckAdapters has already reported
/// `no-multicast`.
bool CClientCheck::CarriesMulticast() const
{
    return seen.adapter.loopback || (seen.adapter.flags & IFF_MULTICAST) != 0;
}

void CClientCheck::CheckFound()
{
    Json recorders = Json::array();
    std::string text;
    for (const SeenAnswer& each : seen.answers) {
        if (!each.target.empty() || !each.received)
            continue;
        recorders.push_back(ToJson(each));
        text += Compose(text.empty() ? "" : ", ", each.source.to_string());
        for (const std::string& xaddr : each.device.xaddrs)
            text += " at " + xaddr;
    }
    if (!recorders.empty())
        Add("found", Level::kOk, {{"recorders", recorders}}, text);
}

void CClientCheck::CheckBlocked()
{
    Json blocked = Json::array();
    std::string text;
    std::string source;
    for (const SeenAnswer& each : seen.answers) {
        if (each.received)
            continue;
        blocked.push_back(ToJson(each));
        source = each.source.to_string();
        text += Compose(text.empty() ? "" : ", ", "the answer of ", source, " to the Probe to ",
                        each.target.empty() ? "the group" : each.target);
    }
    if (blocked.empty())
        return;
    const bool filtered = seen.reversePathDropCount > 0;
    Add("answers-blocked-here", Level::kFault,
        {{"answers", blocked}, {"source", source}, {"reversePathDrops", seen.reversePathDropCount}},
        text + " came to the adapter, and the program did not receive it",
        filtered ? "reverse-path" : "");
}

void CClientCheck::CheckDirect()
{
    std::set<std::pair<std::string, std::string>> asked;
    for (const SeenAnswer& each : seen.answers) {
        const std::string target = each.source.to_string();
        const std::string& address = each.device.address;
        // An IP address that became known after the last direct Probes was not asked.
        if (!each.target.empty() || !WasAsked(seen, target) ||
            !asked.insert({target, address}).second)
            continue;
        // The direct answer must come from the same recorder: two on one machine share the IP
        // address, but only one receives the direct Probe.
        const bool direct =
            std::any_of(seen.answers.begin(), seen.answers.end(), [&](const SeenAnswer& other) {
                return other.target == target && other.device.address == address;
            });
        if (!direct) {
            const Json error = DirectError(target);
            Add("direct-lost", Level::kFault,
                {{"target", target}, {"address", address}, {"sendError", error}},
                Compose(target, " answers the Probe to the group and not the one to its address",
                        error.is_null() ? ""
                                        : ", which cannot be sent: " + error.get<std::string>()));
        }
    }
}

/// Adds a finding if the address given with --to did not answer the Probe to the group, unless it
/// answered the direct Probe and the adapter cannot reach the group.
void CClientCheck::CheckTarget()
{
    if (Answered(seen.target))
        return;
    if (!AnyAnswer(seen, seen.target)) {
        const Json error = DirectError(seen.target);
        Add("nothing-came", Level::kFault,
            {{"target", seen.target}, {"sendError", error}, {"watched", seen.watched}},
            error.is_null()
                ? Compose("no answer of ", seen.target, seen.watched ? " came" : " was received")
                : Compose("the Probe to ", seen.target,
                          " cannot be sent: ", error.get<std::string>()),
            error.is_null() ? "target" : "target-not-sent");
    } else if (CarriesMulticast()) {
        Add("group-lost", Level::kFault, {{"target", seen.target}},
            Compose(seen.target, " answers the Probe to its address and not the one to the group"));
    }
}

/// Adds a finding for each recorder for which AdvertisesOtherHost is true and that answered no
/// direct Probe to an address in its XAddrs. Adds none if one of these addresses became known too
/// late to be asked: the recorder might answer there.
void CClientCheck::CheckAddresses()
{
    std::set<std::pair<std::string, std::string>> reported;
    for (const SeenAnswer& each : seen.answers) {
        if (!AdvertisesOtherHost(each.device, each.source))
            continue;
        std::set<std::string> hosts;
        for (const std::string& xaddr : each.device.xaddrs)
            hosts.insert(HostOf(xaddr));
        const bool reached =
            std::any_of(seen.answers.begin(), seen.answers.end(), [&](const SeenAnswer& other) {
                return hosts.count(other.target) > 0 && other.device.address == each.device.address;
            });
        const bool allAsked = std::all_of(hosts.begin(), hosts.end(), [&](const std::string& host) {
            return WasAsked(seen, host);
        });
        const std::string advertised = Join(hosts, ", ");
        if (reached || !allAsked || !reported.insert({advertised, each.device.address}).second)
            continue;
        Add("address-mismatch", Level::kFault,
            {{"source", each.source.to_string()},
             {"advertised", advertised},
             {"address", each.device.address},
             {"xaddrs", each.device.xaddrs}},
            Compose("the answer comes from ", each.source.to_string(), " and names ", advertised));
    }
}

/// Called when no recorder answered. Reports that other devices answered, else that the Probe to
/// the group was not sent, else that nothing came. Leaves out the last if there is a `target`:
/// CheckTarget has reported it.
void CClientCheck::CheckSilence()
{
    const Level level = seen.optional || !CarriesMulticast() ? Level::kNote : Level::kFault;
    if (!seen.otherDevices.empty()) {
        Add("other-devices-only", level, {{"devices", seen.otherDevices}},
            "no recorder answers, but these do: " + Join(seen.otherDevices, ", "));
    } else if (!seen.sendError.empty()) {
        Add("nothing-came", level, {{"sendError", seen.sendError}, {"watched", seen.watched}},
            "the Probe cannot be sent: " + seen.sendError, "not-sent");
    } else if (seen.target.empty()) {
        Add("nothing-came", level, {{"watched", seen.watched}},
            seen.watched ? "no answer came to the adapter" : "no answer was received");
    }
}

} // namespace

bool AnyAnswer(const ClientObservation& seen, const std::string& target)
{
    return std::any_of(seen.answers.begin(), seen.answers.end(),
                       [&](const SeenAnswer& each) { return each.target == target; });
}

bool WasAsked(const ClientObservation& seen, const std::string& target)
{
    return seen.directErrors.count(target) > 0;
}

std::set<std::string> OtherHosts(const ClientObservation& seen)
{
    std::set<std::string> hosts;
    for (const SeenAnswer& each : seen.answers) {
        if (!AdvertisesOtherHost(each.device, each.source))
            continue;
        for (const std::string& xaddr : each.device.xaddrs)
            hosts.insert(HostOf(xaddr));
    }
    return hosts;
}

Findings CheckClient(const ClientObservation& seen)
{
    return CClientCheck(seen).Run();
}

} // namespace kx::tools
