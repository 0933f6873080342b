#include "device_list.h"

#include <algorithm>
#include <set>
#include <utility>

namespace kx::tools {
namespace {

using Texts = std::vector<std::string>;

/// Of those that never answered silence tells nothing. Hellos of ever new devices would fill the
/// memory.
constexpr std::ptrdiff_t kMostUnanswered = 1000;

/// Whether two lists are the same but for their order.
bool Same(const Texts& left, const Texts& right)
{
    return std::set<std::string>(left.begin(), left.end()) ==
           std::set<std::string>(right.begin(), right.end());
}

/// Takes over a list that a message gave. One that it left out says nothing new.
///
/// @return whether the list is another one now
bool Update(Texts& known, const Texts& given)
{
    if (given.empty() || Same(given, known))
        return false;
    known = given;
    return true;
}

bool Update(Device& known, const Device& given)
{
    const bool types = Update(known.types, given.types);
    const bool scopes = Update(known.scopes, given.scopes);
    const bool xaddrs = Update(known.xaddrs, given.xaddrs);
    return types || scopes || xaddrs;
}

bool Lists(const Device& device, const std::string& type)
{
    return std::find(device.types.begin(), device.types.end(), type) != device.types.end();
}

} // namespace

const char* NameOf(Event::Kind kind)
{
    constexpr const char* kNames[] = {"answer", "appeared", "changed", "gone", "lost"};
    return kNames[static_cast<std::size_t>(kind)];
}

CDeviceList::CDeviceList(std::string sought, bool watch)
    : soughtType(std::move(sought)), watching(watch)
{
}

// unknown --answer, or Hello of the type--> known: answer or appeared
// known   --watching, other lists---------> known: changed
//         --Bye---------------------------> unknown: gone
//         --silent in a round-------------> unknown: lost
//         --many others said Hello--------> unknown: lost, unless it ever answered
std::vector<Event> CDeviceList::Take(Message::Kind kind, const Heard& heard)
{
    const std::string& address = heard.device.address;
    std::vector<Event> events;
    if (kind == Message::Kind::kBye) {
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

    const bool answer = kind == Message::Kind::kProbeMatches;
    const auto found = Find(heard);
    if (found == paths.end()) {
        if (answer || Lists(heard.device, soughtType)) {
            if (!answer)
                MakeRoom(events);
            paths.insert({address, {heard, answer, true}});
            events.push_back({watching ? Event::Kind::kAppeared : Event::Kind::kAnswer, heard,
                              HasOtherPath(address, 1), std::nullopt});
        }
        return events;
    }

    Path& path = found->second;
    const Device was = std::exchange(path.last, heard).device;
    path.last.device = was;
    path.answered = path.answered || answer;
    path.heard = true;
    if (watching && Update(path.last.device, heard.device))
        events.push_back({Event::Kind::kChanged, path.last, HasOtherPath(address, 1), was});
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

std::vector<Event> CDeviceList::TakeSilent()
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
    // The addresses and MAC addresses, by adapter, of which answers do come.
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

/// Forgets the path that said Hello the longest ago when as many as may be never did anything else.
void CDeviceList::MakeRoom(std::vector<Event>& events)
{
    const auto unanswered = [](const auto& each) { return !each.second.answered; };
    if (std::count_if(paths.begin(), paths.end(), unanswered) < kMostUnanswered)
        return;
    auto oldest =
        std::min_element(paths.begin(), paths.end(), [&](const auto& left, const auto& right) {
            return unanswered(left) &&
                   (!unanswered(right) || left.second.last.time < right.second.last.time);
        });
    events.push_back(End(Event::Kind::kLost, oldest));
    events.back().heard.time = std::chrono::system_clock::now();
}

/// The path by which something was heard. When watching, what one message leaves out another may
/// fill in; when asking once, each is shown as it came.
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
        if (Same(last.device.xaddrs, xaddrs))
            return each;
        if (watching && (xaddrs.empty() || last.device.xaddrs.empty()))
            found = each;
    }
    return found;
}

/// Forgets a path, and moves the iterator to the next.
Event CDeviceList::End(Event::Kind kind, Paths::iterator& path)
{
    Heard last = std::move(path->second.last);
    last.roundTrip.reset();
    path = paths.erase(path);
    const bool otherPath = HasOtherPath(last.device.address, 0);
    return {kind, std::move(last), otherPath, std::nullopt};
}

bool CDeviceList::HasOtherPath(const std::string& address, std::size_t own) const
{
    return paths.count(address) > own;
}

} // namespace kx::tools
