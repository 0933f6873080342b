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

/// What one message said about one device, and how the message arrived.
struct Heard {
    Device device;
    std::string relatesTo; ///< see Message
    std::optional<AppSequence> appSequence;
    std::string adapter; ///< name of the adapter that received it
    boost::asio::ip::udp::endpoint source;
    std::chrono::system_clock::time_point time;
    std::optional<std::chrono::steady_clock::duration> roundTrip; ///< of an answer to a Probe
};

/// A change of the list that the user sees.
struct Event {
    /// kAnswer when asking once; the others when watching. kGone said Bye, kLost stopped
    /// responding.
    enum class Kind { kAnswer, kAppeared, kChanged, kGone, kLost };
    Kind kind;
    /// The message that caused it, for kLost the last one. Fields that it left out, as a Bye always
    /// does, are filled with what is known about the device.
    Heard heard;
    bool otherPath;            ///< the device is known by another path as well
    std::optional<Device> was; ///< what was known before a change
};

/// Returns "answer", "appeared", "changed", "gone" or "lost".
const char* NameOf(Event::Kind kind);

/// The devices of the sought type that sent messages, each with its paths.
///
/// A path is an adapter and the XAddrs: a device with two addresses on one adapter sends messages
/// for each of them, often from the same source. When asking once, the source's address is part of
/// the path; its port is not, since some devices answer from a new one each time.
///
/// A device that moved or restarted under a new address without a Bye looks like a second device.
/// The MAC address does not tell, because two recorders on one machine share it. A round, in which
/// all devices are asked again, shows whether the former device still answers.
///
/// Not thread-safe.
class CDeviceList {
public:
    /// @param sought  only devices of this type are listed; none: all devices
    CDeviceList(std::optional<DeviceType> sought, bool watching);

    /// Records a message.
    ///
    /// @return the resulting events, usually none or one. A Bye ends all paths of the device on the
    ///         adapter. When too many paths are known by Hello alone, a further one ends the oldest
    ///         as kLost. When asking once, an answer without XAddrs is held until a ResolveMatches
    ///         supplies them or ReleaseHeld is called.
    std::vector<Event> Record(Message::Kind kind, const Heard& heard);

    /// Returns whether the path of a message is known, but not its XAddrs.
    bool LacksXAddrs(const Heard& heard);

    /// Returns and releases the answers that are still held.
    std::vector<Event> ReleaseHeld();

    /// Begins a round: a path is silent until a message from it arrives.
    void StartRound();

    /// Returns whether a device is silent that answered before, or that has the MAC address of one
    /// that answers on the same adapter, perhaps its successor. A device that never answered does
    /// not count: it may be behind a firewall.
    bool AnySilent();

    /// Removes the silent paths. Returns a kLost event for each, with the current time.
    std::vector<Event> RemoveSilent();

    std::size_t PathCount() const { return paths.size(); }
    std::size_t DeviceCount() const;

    /// Returns how many devices of other types answered, at most 10,000.
    std::size_t OtherCount() const;

private:
    struct Path {
        Heard last;            ///< the last message, with all that is known about the device
        bool answered;         ///< an answer arrived at some time
        bool heard;            ///< a message arrived in this round
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
