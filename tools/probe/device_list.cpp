#include "device_list.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace kx::tools {
namespace {

using Texts = std::vector<std::string>;

/// Maximum of paths (see CDeviceList) that are known by Hello alone; no site has so many. Without
/// it, forged Hellos could fill the memory: RemoveSilent removes a path only if its device, or a
/// listed one with its MAC address, has answered a Probe on the adapter.
constexpr std::size_t kMaxUnanswered = 20'000;

/// Maximum of recorded devices of other types. Without it, forged answers could fill the memory.
constexpr std::size_t kMaxOthers = 10'000;

/// Returns whether two lists are equal except for their order. Not std::is_permutation: its time is
/// quadratic, more than a second for 16,000 words, and so many fit into a datagram.
bool AreSame(const Texts& left, const Texts& right)
{
    if (left.size() != right.size() || left == right)
        return left.size() == right.size();
    std::vector<std::string_view> sortedLeft(left.begin(), left.end());
    std::vector<std::string_view> sortedRight(right.begin(), right.end());
    std::sort(sortedLeft.begin(), sortedLeft.end());
    std::sort(sortedRight.begin(), sortedRight.end());
    return sortedLeft == sortedRight;
}

/// Replaces a known list by that of a message, if the message has one.
///
/// @return whether the list changed; a new order is not a change
bool Update(Texts& known, const Texts& given)
{
    if (given.empty() || AreSame(given, known))
        return false;
    known = given;
    return true;
}

/// @return whether a list changed; a new metadata version alone is not shown as a change
bool Update(Device& known, const Device& given)
{
    const bool types = Update(known.types, given.types);
    const bool scopes = Update(known.scopes, given.scopes);
    const bool xaddrs = Update(known.xaddrs, given.xaddrs);
    if (given.metadataVersion)
        known.metadataVersion = given.metadataVersion;
    return types || scopes || xaddrs;
}

} // namespace

const char* NameOf(Event::Kind kind)
{
    constexpr const char* kNames[] = {"answer", "appeared", "changed", "gone", "lost"};
    return kNames[static_cast<std::size_t>(kind)];
}

CDeviceList::CDeviceList(std::optional<DeviceType> type, bool watch)
    : sought(std::move(type)), watching(watch)
{
}

// The transitions of a path (see CDeviceList) to a device of the sought type, and their events.
// "Known by Hello alone": no Probe was answered by this path yet.
//
// unknown --watching: Hello or answer------------------> known: kAppeared
// unknown --asking once: answer with XAddrs------------> known: kAnswer
// unknown --asking once: answer without XAddrs---------> held: no event
// held    --ResolveMatches with XAddrs, or ReleaseHeld-> known: kAnswer
// known   --watching: new types, scopes; first XAddrs--> known: kChanged
// known   --Bye----------------------------------------> unknown: kGone
// known   --RemoveSilent at the end of a round---------> unknown: kLost
// known   --oldest of too many known by Hello alone----> unknown: kLost
std::vector<Event> CDeviceList::Record(Message::Kind kind, const Heard& heard)
{
    if (kind == Message::Kind::kBye)
        return RecordBye(heard);
    if (kind == Message::Kind::kResolveMatches)
        return RecordXAddrs(heard);

    const bool answer = kind == Message::Kind::kProbeMatches;
    const auto found = Find(heard);
    const bool known = found != paths.end();
    // A message by a known path may leave the types out: they are known from an earlier one.
    if (sought && !HasType(heard.device, *sought) && !(known && heard.device.types.empty())) {
        if (answer && others.size() < kMaxOthers)
            others.insert(heard.device.address);
        return {};
    }
    if (!known)
        return RecordNew(heard, answer);

    Path& path = found->second;
    const Device was = std::exchange(path.last, heard).device;
    path.last.device = was;
    if (answer && !std::exchange(path.answered, true))
        --unansweredCount;
    path.heard = true;
    if (watching && Update(path.last.device, heard.device))
        return {{Event::Kind::kChanged, path.last, HasOtherPath(was.address, 1), was}};
    return {};
}

std::vector<Event> CDeviceList::RecordNew(const Heard& heard, bool answer)
{
    const std::string& address = heard.device.address;
    std::vector<Event> events;
    if (!answer) {
        MakeRoom(events);
        ++unansweredCount;
    }
    const bool held = !watching && heard.device.xaddrs.empty();
    paths.insert({address, {heard, answer, true, held}});
    if (!held)
        events.push_back({watching ? Event::Kind::kAppeared : Event::Kind::kAnswer, heard,
                          HasOtherPath(address, 1), std::nullopt});
    return events;
}

std::vector<Event> CDeviceList::RecordBye(const Heard& heard)
{
    const std::string& address = heard.device.address;
    std::vector<Event> events;
    for (auto each = paths.lower_bound(address); each != paths.upper_bound(address);) {
        if (each->second.last.adapter != heard.adapter) {
            ++each;
            continue;
        }
        events.push_back(End(Event::Kind::kGone, each));
        events.back().heard.source = heard.source;
        events.back().heard.time = heard.time;
    }
    return events;
}

/// Records a ResolveMatches that has XAddrs, for each path of its device and adapter that has none.
///
/// @return when watching, a kChanged event for each such path; when asking once, a kAnswer event
///         for each that was held
std::vector<Event> CDeviceList::RecordXAddrs(const Heard& heard)
{
    const std::string& address = heard.device.address;
    std::vector<Event> events;
    const auto range = paths.equal_range(address);
    for (auto each = range.first; each != range.second; ++each) {
        Path& path = each->second;
        Device& device = path.last.device;
        if (path.last.adapter != heard.adapter || !device.xaddrs.empty() ||
            heard.device.xaddrs.empty())
            continue;
        const Device was = device;
        Update(device, heard.device);
        path.resolved = true;
        if (watching)
            events.push_back({Event::Kind::kChanged, path.last, HasOtherPath(address, 1), was});
        else if (std::exchange(path.held, false))
            events.push_back(
                {Event::Kind::kAnswer, path.last, HasOtherPath(address, 1), std::nullopt});
    }
    return events;
}

bool CDeviceList::LacksXAddrs(const Heard& heard)
{
    const auto found = Find(heard);
    return found != paths.end() && found->second.last.device.xaddrs.empty();
}

std::vector<Event> CDeviceList::ReleaseHeld()
{
    std::vector<Event> events;
    for (auto& [address, path] : paths) {
        if (std::exchange(path.held, false))
            events.push_back(
                {Event::Kind::kAnswer, path.last, HasOtherPath(address, 1), std::nullopt});
    }
    return events;
}

void CDeviceList::StartRound()
{
    for (auto& each : paths)
        each.second.heard = false;
}

bool CDeviceList::AnySilent()
{
    return !Silent().empty();
}

std::vector<Event> CDeviceList::RemoveSilent()
{
    std::vector<Event> events;
    for (auto each : Silent()) {
        events.push_back(End(Event::Kind::kLost, each));
        events.back().heard.time = std::chrono::system_clock::now();
    }
    return events;
}

std::vector<CDeviceList::Paths::iterator> CDeviceList::Silent()
{
    // Two pairs for each path by which an answer arrived: adapter and wsa:Address, adapter and MAC
    // address. A path that has one of these pairs should answer.
    std::set<std::pair<std::string, std::string>> answering;
    for (const auto& [address, path] : paths) {
        if (path.answered)
            answering.insert(
                {{path.last.adapter, address}, {path.last.adapter, MacOf(path.last.device)}});
    }
    std::vector<Paths::iterator> silent;
    for (auto each = paths.begin(); each != paths.end(); ++each) {
        const Heard& last = each->second.last;
        const std::string mac = MacOf(last.device);
        if (!each->second.heard && (answering.count({last.adapter, each->first}) > 0 ||
                                    (!mac.empty() && answering.count({last.adapter, mac}) > 0)))
            silent.push_back(each);
    }
    return silent;
}

std::size_t CDeviceList::DeviceCount() const
{
    std::size_t count = 0;
    for (auto each = paths.begin(); each != paths.end(); each = paths.upper_bound(each->first))
        ++count;
    return count;
}

std::size_t CDeviceList::OtherCount() const
{
    const auto isOther = [this](const std::string& address) { return paths.count(address) == 0; };
    return static_cast<std::size_t>(std::count_if(others.begin(), others.end(), isOther));
}

/// Makes room for one more path known by Hello alone, see Record.
void CDeviceList::MakeRoom(std::vector<Event>& events)
{
    if (unansweredCount < kMaxUnanswered)
        return;
    const auto unanswered = [](const auto& each) { return !each.second.answered; };
    auto oldest =
        std::min_element(paths.begin(), paths.end(), [&](const auto& left, const auto& right) {
            return unanswered(left) &&
                   (!unanswered(right) || left.second.last.time < right.second.last.time);
        });
    events.push_back(End(Event::Kind::kLost, oldest));
    events.back().heard.time = std::chrono::system_clock::now();
}

/// Returns the path by which a message came; the end of `paths` when it is unknown.
///
/// Message and path have the same device, adapter and XAddrs and, when asking once, the same source
/// IP address. The XAddrs may differ in these cases:
/// - The message has none, and those of the path came in a ResolveMatches.
/// - One of the two has none, and no other path fits. Only when watching: when asking once, each
///   answer is shown as it arrived.
CDeviceList::Paths::iterator CDeviceList::Find(const Heard& heard)
{
    const Texts& xaddrs = heard.device.xaddrs;
    auto found = paths.end();
    const auto range = paths.equal_range(heard.device.address);
    for (auto each = range.first; each != range.second; ++each) {
        const Heard& last = each->second.last;
        if (last.adapter != heard.adapter ||
            (!watching && last.source.address() != heard.source.address()))
            continue;
        if (AreSame(last.device.xaddrs, xaddrs) || (each->second.resolved && xaddrs.empty()))
            return each;
        if (watching && (xaddrs.empty() || last.device.xaddrs.empty()))
            found = each;
    }
    return found;
}

/// Removes a path and returns the event for it. Moves the iterator to the next path.
Event CDeviceList::End(Event::Kind kind, Paths::iterator& path)
{
    if (!path->second.answered)
        --unansweredCount;
    Heard last = std::move(path->second.last);
    last.roundTrip.reset();
    path = paths.erase(path);
    const bool otherPath = HasOtherPath(last.device.address, 0);
    return {kind, std::move(last), otherPath, std::nullopt};
}

/// @param own  1 if the event's path is in the list; 0 after its removal
bool CDeviceList::HasOtherPath(const std::string& address, std::size_t own) const
{
    return paths.count(address) > own;
}

} // namespace kx::tools
