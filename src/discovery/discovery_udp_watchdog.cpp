#include "discovery_udp.h"
#include "report.h"

#include <boost/asio/ip/multicast.hpp>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

/// Time in which a Hello or a Probe has to arrive after the endpoint has joined the group. If the
/// membership works, at least its own Hello arrives.
constexpr std::chrono::seconds kWatchdogPeriod{3};
/// Maximum number of times that the watchdog of an endpoint joins the group again.
constexpr std::int32_t kMaxRejoins = 2;

} // namespace

void CDiscoveryUdp::ArmActivityTimer()
{
    activityTimer.expires_after(kWatchdogPeriod);
    activityTimer.async_wait([this](const error_code& error) { OnActivityTimer(error); });
    ++pendingOps;
}

void CDiscoveryUdp::NoteActivity()
{
    if (activitySeen)
        return;
    activitySeen = true;
    activityTimer.cancel();
}

void CDiscoveryUdp::OnActivityTimer(const error_code& error)
{
    --pendingOps;
    // Deliberate: nothing resets rejoinCount. If a restart did, an endpoint that never receives its
    // own Hello would send two more Hellos after each back-off.
    if (stopping || closing || activitySeen || rejoinCount >= kMaxRejoins || WasCancelled(error))
        return;

    ++rejoinCount;
    Report(log, kLogInfo, "Multicast activity timer expired for ", adapter.ipAddress,
           ". Re-join multicast group");
    error_code ignored;
    socket.set_option(
        boost::asio::ip::multicast::leave_group(groupAddress, localEndpoint.address().to_v4()),
        ignored);
    error_code joinError;
    JoinGroup(joinError);
    if (joinError)
        Report(log, kLogError, "Failed to join multicast group for ", adapter.ipAddress);
    SendHello();
    ArmActivityTimer();
}

} // namespace kx
