#pragma once

#include "message_reader.h"

#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <tuple>

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
    /// kAnswer when asking once; the others when watching.
    enum class Kind { kAnswer, kAppeared, kChanged, kGone };
    Kind kind;
    /// The message that made it, but with all that is known of the device: a message may leave
    /// things out, and a Bye always does.
    Heard heard;
    bool otherPath;            ///< the device is known by another path as well
    std::optional<Device> was; ///< what was known before a change
};

/// "answer", "appeared", "changed" or "gone".
const char* NameOf(Event::Kind kind);

/// The devices that were heard, each with the paths by which it was.
///
/// When asking once, a path is an adapter and the host that answered; its port says nothing, for
/// some answer from a new one each time. When watching, it is the adapter alone: a device whose
/// host gets another address has changed.
///
/// Threads: one.
class CDeviceList {
public:
    /// @param soughtType  expanded name of the type that a Hello must list to make a device known.
    ///                    An answer need not: whoever answered was asked for it.
    CDeviceList(std::string soughtType, bool watching);

    /// Takes in what was heard.
    ///
    /// @return nothing when it adds nothing to what is known
    std::optional<Event> Take(Message::Kind kind, const Heard& heard);

    std::size_t PathCount() const { return paths.size(); }
    std::size_t DeviceCount() const;

private:
    /// Address of the device and adapter; when asking once also the source and where it serves: a
    /// device with two addresses answers for both from one.
    using Path =
        std::tuple<std::string, std::string, boost::asio::ip::address, std::vector<std::string>>;

    bool HasOtherPath(const Path& path) const;

    const std::string soughtType;
    const bool watching;
    std::map<Path, Device> paths;
};

} // namespace kx::tools
