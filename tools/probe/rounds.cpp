#include "rounds.h"

#include <utility>

using std::chrono::seconds;

namespace kx::tools {
namespace {

constexpr seconds kAnswerTime{1};
constexpr int kMaxProbes = 3; // in a round
constexpr seconds kRestTime{30};

} // namespace

CRounds::CRounds(boost::asio::io_context& ioService, CReceiver& usedReceiver, CDeviceList& list,
                 std::function<void()> asker, std::function<void(const Event&)> listener)
    : receiver(usedReceiver),
      devices(list),
      ask(std::move(asker)),
      lost(std::move(listener)),
      timer(ioService)
{
}

void CRounds::Start()
{
    devices.StartRound();
    asked = 1;
    Wait(kAnswerTime, &CRounds::CheckSilent);
}

void CRounds::AskSoon()
{
    again = true;
    if (asked == 0)
        Rest();
}

void CRounds::Begin()
{
    again = false;
    ask();
    Start();
}

void CRounds::CheckSilent()
{
    // The answer of a device that looks silent may have arrived and be waiting to be read.
    if (receiver.HasBacklog()) {
        Wait(kAnswerTime, &CRounds::CheckSilent);
        return;
    }
    if (devices.AnySilent() && asked < kMaxProbes) {
        ask();
        ++asked;
        Wait(kAnswerTime, &CRounds::CheckSilent);
        return;
    }
    for (const Event& each : devices.RemoveSilent())
        lost(each);
    Rest();
}

void CRounds::Rest()
{
    asked = 0;
    Wait(again ? seconds::zero() : kRestTime, &CRounds::Begin);
}

void CRounds::Wait(std::chrono::steady_clock::duration time, void (CRounds::*next)())
{
    timer.expires_after(time); // cancels the previous wait
    timer.async_wait([this, next](const boost::system::error_code& error) {
        if (!error)
            (this->*next)();
    });
}

} // namespace kx::tools
