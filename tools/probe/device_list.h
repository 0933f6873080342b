#pragma once

#include "message_reader.h"

#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// What one message said of one device, and how it came.
struct Heard {
    Device device;
    std::string adapter;                   ///< device name of the adapter that it came in on
    boost::asio::ip::udp::endpoint source; ///< where it came from
    std::chrono::system_clock::time_point time;
    std::optional<std::chrono::steady_clock::duration> roundTrip; ///< of an answer
};

/// Something worth showing.
struct Event {
    /// kAnswer when asking once; the others when watching. kGone said so, kLost just fell silent.
    enum class Kind { kAnswer, kAppeared, kChanged, kGone, kLost };
    Kind kind;
    /// The message that made it, the last one for kLost, but with all that is known of the device:
    /// a message may leave things out, and a Bye always does.
    Heard heard;
    bool otherPath;            ///< the device is known by another path as well
    std::optional<Device> was; ///< what was known before a change
};

/// "answer", "appeared", "changed", "gone" or "lost".
const char* NameOf(Event::Kind kind);

/// The devices that were heard, each with the paths by which it was.
///
/// A path is an adapter and the XAddrs: a device with two addresses on one adapter speaks for each
/// of them in messages of their own, often from the same source. When asking once, the host that
/// answered makes a path of its own too; its port says nothing, for some answer from a new one each
/// time.
///
/// A device that moves, or starts again under a new address, without a Bye cannot be told from a
/// second one by what it says: other programs on its machine share its MAC address. Whether the
/// former is still there is found out in a round, in which everybody is asked again.
///
/// Threads: one.
class CDeviceList {
public:
    /// @param soughtType  expanded name of the type that a Hello must list to make a device known.
    ///                    An answer need not: whoever answered was asked for it.
    CDeviceList(std::string soughtType, bool watching);

    /// Takes in what was heard.
    ///
    /// @return what it adds to what is known: mostly nothing or one event, but a Bye ends all paths
    ///         of the device on the adapter, and when a thousand paths are known by Hello alone,
    ///         one more such ends the oldest, as kLost
    std::vector<Event> Take(Message::Kind kind, const Heard& heard);

    /// Begins a round: whoever is not heard from here on is silent.
    void StartRound();

    /// Whether anybody is silent who could answer: the device did so before, or its successor does,
    /// with its MAC address and on its adapter. Of one that never did, as behind a firewall,
    /// silence tells nothing.
    bool AnySilent();

    /// Forgets the paths that are silent. Gives a kLost of now for each.
    std::vector<Event> TakeSilent();

    std::size_t PathCount() const { return paths.size(); }
    std::size_t DeviceCount() const;

private:
    struct Path {
        Heard last;    ///< the last message, with all that is known of the device
        bool answered; ///< by an answer at some time
        bool heard;    ///< in this round
    };
    using Paths = std::multimap<std::string, Path>; // by the device's address

    Paths::iterator Find(const Heard& heard);
    void MakeRoom(std::vector<Event>& events);
    std::vector<Paths::iterator> Silent();
    Event End(Event::Kind kind, Paths::iterator& path);
    bool HasOtherPath(const std::string& address, std::size_t own) const;

    const std::string soughtType;
    const bool watching;
    Paths paths;
};

} // namespace kx::tools
