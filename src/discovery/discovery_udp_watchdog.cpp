#include "discovery_udp.h"
#include "report.h"

#include <boost/asio/ip/multicast.hpp>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

/// A membership that works lets the endpoint hear something, its own Hello at least, by then.
constexpr std::chrono::seconds kWatchdogPeriod{3};
constexpr std::int32_t kRejoinLimit = 2;

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
    // Deliberate: rejoinCount is never reset, so there are two re-joins in the endpoint's life,
    // not two after each restart.
    if (stopping || closing || activitySeen || rejoinCount >= kRejoinLimit || WasCancelled(error))
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
