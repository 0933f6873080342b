#include "host_log.h"

#include "printable.h"
#include "text.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <mutex>

namespace kx::tools {
namespace {

constexpr int kLabelWidth = 7;

std::mutex printing;
std::atomic<unsigned> logRecordCount{0};

std::string TimeOfDay()
{
    using std::chrono::system_clock;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    return Compose(std::put_time(&local, "%H:%M:%S."), std::setfill('0'), std::setw(3),
                   milliseconds);
}

} // namespace

void Print(const LogEntry& entry)
{
    const std::lock_guard<std::mutex> lock(printing);
    // The time is taken under the lock: lines never go back in time.
    std::cout << Compose(TimeOfDay(), " ", std::left, std::setw(kLabelWidth), entry.label, " ",
                         Printable(entry.text), "\n")
              << std::flush;
}

void OnPluginRequest(const HostRequest* request, HostReply* /*reply*/)
{
    if (request->command == kLogCommand)
        ++logRecordCount;
    Print(ReadPluginRecord(*request));
}

unsigned LogRecordCount()
{
    return logRecordCount;
}

} // namespace kx::tools
