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
    /// Time from our Probe to the answer; none for other messages.
    std::optional<std::chrono::steady_clock::duration> roundTrip;
};

/// A change of CDeviceList, to be shown to the user.
struct Event {
    /// kAnswer occurs only when asking once, the others only when watching. kGone: the device said
    /// Bye. kLost: it stopped responding, or the list was full.
    enum class Kind { kAnswer, kAppeared, kChanged, kGone, kLost };
    Kind kind;
    /// What is known about one path (see CDeviceList): `device` from all its messages, the other
    /// fields from its latest Hello or answer to a Probe. kGone has the source and time of the Bye,
    /// kLost the time of the removal; neither has a roundTrip.
    Heard heard;
    bool otherPath;            ///< the list has another path of the device
    std::optional<Device> was; ///< the device before a kChanged event; otherwise none
};

/// Returns "answer", "appeared", "changed", "gone" or "lost".
const char* NameOf(Event::Kind kind);

/// The devices of the sought type that sent messages, each with its paths.
///
/// A path is an adapter together with the XAddrs of a message: a device with two IP addresses on
/// one adapter sends a message for each of them, often from the same source. When asking once, each
/// answer is shown with its source, so the source's IP address is part of the path too. Its port is
/// not: some devices answer from a new port each time.
///
/// A device that restarts without a Bye may use a new wsa:Address and then looks like a second
/// device. The MAC address does not tell whether both are one: two recorders on one machine share
/// it. Therefore, when watching, all devices are asked again in rounds, and RemoveSilent removes
/// the paths that should have answered but did not.
///
/// Not thread-safe.
class CDeviceList {
public:
    /// @param sought    type to list; none: all devices
    /// @param watching  false: devices are asked once
    CDeviceList(std::optional<DeviceType> sought, bool watching);

    /// Records a message. A Bye removes all paths of the device on the adapter. When asking once,
    /// an answer without XAddrs is held: its event follows when a ResolveMatches supplies the
    /// XAddrs or ReleaseHeld is called. When 20,000 paths have brought Hellos but never an
    /// answer, a Hello by a new path removes the one whose latest Hello is oldest, with a kLost
    /// event.
    ///
    /// @return the events, usually none or one
    std::vector<Event> Record(Message::Kind kind, const Heard& heard);

    /// Returns whether the message came by a listed path without XAddrs. The caller then asks the
    /// device for them with a Resolve.
    bool LacksXAddrs(const Heard& heard);

    /// Releases the answers that are still held and returns a kAnswer event for each.
    std::vector<Event> ReleaseHeld();

    /// Begins a round. A path is now silent until a Hello or an answer to a Probe arrives by it.
    void StartRound();

    /// Returns whether a silent path should have answered: on its adapter, its device, or a listed
    /// device with the same MAC address (a restart may change wsa:Address), has answered a Probe.
    /// Other silent paths do not count: a firewall may keep Probes from their devices.
    bool AnySilent();

    /// Removes the silent paths that AnySilent counts and returns a kLost event for each.
    std::vector<Event> RemoveSilent();

    std::size_t PathCount() const { return paths.size(); }
    std::size_t DeviceCount() const;

    /// Returns how many devices of other types answered, at most 10,000.
    std::size_t OtherCount() const;

private:
    struct Path {
        Heard last;            ///< see Event::heard
        bool answered;         ///< an answer to a Probe has arrived
        bool heard;            ///< a Hello or an answer to a Probe arrived in this round
        bool held = false;     ///< no event yet, because the XAddrs are missing
        bool resolved = false; ///< the XAddrs came in a ResolveMatches
    };
    using Paths = std::multimap<std::string, Path>; // the key is the device's wsa:Address

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
    std::set<std::string> others;    ///< wsa:Address of each device of another type that answered
};

} // namespace kx::tools
