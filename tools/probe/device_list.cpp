#include "device_list.h"

#include <algorithm>
#include <set>
#include <utility>

namespace kx::tools {
namespace {

using Texts = std::vector<std::string>;

/// Takes over a list that a message gave. One that it left out, or gave in another order, says
/// nothing new.
///
/// @return whether the list is another one now
bool Update(Texts& known, const Texts& given)
{
    const auto setOf = [](const Texts& texts) {
        return std::set<std::string>(texts.begin(), texts.end());
    };
    if (given.empty() || setOf(given) == setOf(known))
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

} // namespace

const char* NameOf(Event::Kind kind)
{
    constexpr const char* kNames[] = {"answer", "appeared", "changed", "gone"};
    return kNames[static_cast<std::size_t>(kind)];
}

CDeviceList::CDeviceList(std::string sought, bool watch)
    : soughtType(std::move(sought)), watching(watch)
{
}

// unknown --answer, or Hello of the type--> known: answer or appeared
// known   --watching, other lists---------> known: changed
//         --Bye---------------------------> unknown: gone
std::optional<Event> CDeviceList::Take(Message::Kind kind, const Heard& heard)
{
    Path path{heard.device.address, heard.adapter, {}, {}};
    if (!watching) {
        std::get<2>(path) = heard.source.address();
        std::get<3>(path) = heard.device.xaddrs;
    }
    const auto found = paths.find(path);
    Event event{Event::Kind::kAppeared, heard, HasOtherPath(path), std::nullopt};
    if (found == paths.end()) {
        const Texts& types = heard.device.types;
        const bool listed = std::find(types.begin(), types.end(), soughtType) != types.end();
        if (kind == Message::Kind::kBye || (kind == Message::Kind::kHello && !listed))
            return std::nullopt;
        paths.emplace(path, heard.device);
        if (!watching)
            event.kind = Event::Kind::kAnswer;
        return event;
    }

    const Device was = found->second;
    if (kind == Message::Kind::kBye) {
        paths.erase(found);
        event.kind = Event::Kind::kGone;
        event.heard.device = was;
        return event;
    }
    if (!watching || !Update(found->second, heard.device))
        return std::nullopt;
    event.kind = Event::Kind::kChanged;
    event.heard.device = found->second;
    event.was = was;
    return event;
}

std::size_t CDeviceList::DeviceCount() const
{
    std::set<std::string> addresses;
    for (const auto& each : paths)
        addresses.insert(std::get<0>(each.first));
    return addresses.size();
}

bool CDeviceList::HasOtherPath(const Path& path) const
{
    const std::string& address = std::get<0>(path);
    for (auto each = paths.lower_bound({address, "", {}, {}});
         each != paths.end() && std::get<0>(each->first) == address; ++each) {
        if (each->first != path)
            return true;
    }
    return false;
}

} // namespace kx::tools
