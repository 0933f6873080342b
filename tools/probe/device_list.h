#pragma once

#include "device_type.h"
#include "message_reader.h"

#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kx::tools {

/// What one message said about one device, and how it came.
struct Heard {
    Device device;
    std::string relatesTo; ///< see Message
    std::optional<AppSequence> appSequence;
    std::string adapter;                   ///< name of the adapter that it came in on
    boost::asio::ip::udp::endpoint source; ///< where it came from
    std::chrono::system_clock::time_point time;
    std::optional<std::chrono::steady_clock::duration> roundTrip; ///< of an answer to a Probe
};

/// Something worth showing.
struct Event {
    /// kAnswer when asking once; the others when watching. kGone said Bye, kLost stopped
    /// responding.
    enum class Kind { kAnswer, kAppeared, kChanged, kGone, kLost };
    Kind kind;
    /// The message that made it, the last one for kLost, with all that is known about the device: a
    /// message may leave things out, and a Bye always does.
    Heard heard;
    bool otherPath;            ///< the device is known by another path as well
    std::optional<Device> was; ///< what was known before a change
};

/// Returns "answer", "appeared", "changed", "gone" or "lost".
const char* NameOf(Event::Kind kind);

/// The devices of the sought type that were heard, each with the paths by which it was.
///
/// A path is an adapter and the XAddrs: a device with two addresses on one adapter sends messages
/// for each of them, often from the same source. When asking once, the host that answered makes a
/// path of its own too; its port says nothing, since some devices answer from a new one each time.
///
/// A device that moves, or restarts under a new address, without a Bye cannot be told from a second
/// one by what it says: other programs on its machine share its MAC address. A round, in which all
/// devices are asked again, tells whether the former is still there.
///
/// Not thread-safe.
class CDeviceList {
public:
    /// @param sought  the type that a message must name to make a device known; without one every
    ///                device counts
    CDeviceList(std::optional<DeviceType> sought, bool watching);

    /// Records what was heard.
    ///
    /// @return what is new: mostly nothing or one event. A Bye ends all paths of the device on the
    ///         adapter. When too many paths are known by Hello alone, another one ends the oldest,
    ///         as kLost. When asking once, an answer without XAddrs is held until a ResolveMatches
    ///         supplies them or ReleaseHeld is called.
    std::vector<Event> Record(Message::Kind kind, const Heard& heard);

    /// Whether the path by which something was heard is known without XAddrs.
    bool LacksXAddrs(const Heard& heard);

    /// Returns the answers that are still held, and holds them no longer.
    std::vector<Event> ReleaseHeld();

    /// Begins a round: what is not heard from here on is silent.
    void StartRound();

    /// Whether a device is silent that could answer: it did so before, or its successor does, with
    /// its MAC address and on its adapter. The silence of one that never answered, for example
    /// behind a firewall, tells nothing.
    bool AnySilent();

    /// Removes the silent paths. Returns a kLost of now for each.
    std::vector<Event> RemoveSilent();

    std::size_t PathCount() const { return paths.size(); }
    std::size_t DeviceCount() const;

    /// Returns how many devices answered that are not of the sought type; 10,000 at most.
    std::size_t OtherCount() const;

private:
    struct Path {
        Heard last;            ///< the last message, with all that is known about the device
        bool answered;         ///< by an answer at some time
        bool heard;            ///< in this round
        bool held = false;     ///< not shown yet: its XAddrs are being asked for
        bool resolved = false; ///< its XAddrs came in a ResolveMatches
    };
    using Paths = std::multimap<std::string, Path>; // by the device's address

    std::vector<Event> RecordBye(const Heard& heard);
    std::vector<Event> RecordXAddrs(const Heard& heard);
    std::vector<Event> RecordNew(const Heard& heard, bool answer);
    Paths::iterator Find(const Heard& heard);
    void MakeRoom(std::vector<Event>& events);
    std::vector<Paths::iterator> Silent();
    Event End(Event::Kind kind, Paths::iterator& path);
    bool HasOtherPath(const std::string& address, std::size_t own) const;

    const std::optional<DeviceType> sought;
    const bool watching;
    Paths paths;
    std::size_t unansweredCount = 0; ///< paths known by Hello alone
    std::set<std::string> others;    ///< addresses of those that answered without the sought type
};

} // namespace kx::tools
