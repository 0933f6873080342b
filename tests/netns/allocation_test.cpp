#include "fake_host.h"
#include "network.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <sched.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using kx::tools::CPluginLibrary;

namespace {

/// What a thread is used for. The I/O thread, the only one that the plug-in creates, remains kIo.
/// The main thread is kDocument while it hands over a document, otherwise kTest. Allocations of
/// kTest never fail.
enum class Thread { kIo, kLent, kDocument, kTest };
thread_local Thread current = Thread::kIo;
thread_local bool inCallback = false;

Thread failing = Thread::kTest;
/// Decremented by each allocation of the thread `failing` outside the host's callback. The
/// allocation that makes it 0 fails.
std::atomic<int> countdown{0};
std::atomic<bool> failed{false};

} // namespace

// If this were inlined, the compiler would warn that memory from operator new is passed to free.
__attribute__((noinline)) void* operator new(std::size_t size)
{
    if (current == failing && failing != Thread::kTest && !inCallback && --countdown == 0) {
        failed = true;
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept
{
    std::free(memory);
}

// Replaced too: a sanitizer's own versions of these operators do not call the two above.
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}
void operator delete[](void* memory) noexcept
{
    operator delete(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

namespace {

/// The exit statuses of a process that runs the plug-in once, from Load to Unload (a life).
constexpr int kNothingFailed = 0; ///< the life ended before the allocation that was to fail
constexpr int kReturned = 10;     ///< an allocation failed, and no call of the plug-in threw
constexpr int kThrew = 11;        ///< an allocation failed, and a call threw std::bad_alloc
/// The signal that ends a process whose failed allocation leads to std::terminate. An exit would be
/// slow under ThreadSanitizer.
constexpr int kEnded = SIGUSR1;

std::atomic<int> hellos{0};
std::atomic<int> answers{0};

void CountMessages(const PelorinHostRequest* request, PelorinHostReply* /*reply*/)
{
    inCallback = true;
    const auto* const record = static_cast<const char*>(request->data);
    // Only the beginnings: a failed allocation may truncate the record.
    hellos += std::strstr(record, "Sending He") ? 1 : 0;
    answers += std::strstr(record, "Send Probe") ? 1 : 0;
    inCallback = false;
}

/// Runs the plug-in from Load to Unload in a new network namespace, with two endpoints, Probes and
/// a change of adapters. Allocation `number` of the thread fails, counted after Load. Returns the
/// process's exit status.
int Live(Thread thread, int number)
{
    alarm(20);
    std::set_terminate([] { std::raise(failed ? kEnded : SIGABRT); });
    current = Thread::kTest;
    if (unshare(CLONE_NEWNET) != 0)
        return EXIT_FAILURE;
    Network::Run("ip link set lo up");
    Socket prober("lo", "127.0.0.1", 0);
    // Never closed: after a run that threw, only a variable in the library points to the plug-in's
    // context. Without the library, LeakSanitizer would report a leak.
    static const CPluginLibrary& plugin = *new CPluginLibrary(PELORIN_LIBRARY);
    plugin.Load(&CountMessages);

    std::atomic<bool> over{false};
    bool runThrew = false;
    bool documentThrew = false;
    countdown = number;
    failing = thread;
    std::thread lent([&] {
        current = Thread::kLent;
        try {
            plugin.Run();
        } catch (const std::bad_alloc&) {
            runThrew = true;
        }
        over = true;
    });
    // Repeats `act` until `count` reaches `wanted`. Gives up when the run has ended or after 200
    // turns, because the failed allocation may prevent what is counted.
    const auto repeat = [&](const std::atomic<int>& count, int wanted, const auto& act) {
        for (int turn = 0; count < wanted && !over && turn < 200; ++turn) {
            act();
            std::this_thread::sleep_for(2ms);
        }
    };
    const std::string one = "127.0.0.1 lo m";
    const std::string other = "127.0.0.1 lo n";
    for (const bool changed : {false, true}) {
        const std::string document =
            changed ? MakeTestDocument({other, one}, "81") : MakeTestDocument({one, other}, "80");
        repeat(hellos, changed ? 4 : 2, [&] {
            current = Thread::kDocument;
            try {
                plugin.Apply(document);
            } catch (const std::bad_alloc&) {
                documentThrew = true;
            }
            current = Thread::kTest;
        });
        if (!changed)
            repeat(answers, 2, [&] { prober.Send(Probe("urn:uuid:1")); });
    }
    while (!over) {
        plugin.Close();
        std::this_thread::sleep_for(1ms);
    }
    lent.join();
    failing = Thread::kTest;
    if (!runThrew)
        plugin.Unload(); // after a run that threw, it would wait forever
    if (!failed)
        return kNothingFailed;
    return runThrew || documentThrew ? kThrew : kReturned;
}

class Allocation : public testing::TestWithParam<Thread> {};

// With AddressSanitizer, a leak changes the exit status of a process.
TEST_P(Allocation, ThatFailsNeitherHangsNorLeaks)
{
    constexpr std::size_t kLivesAtATime = 8;
    constexpr int kLeastAllocations = 20;
    std::map<pid_t, int> lives;
    int number = 1;
    for (bool last = false; !last || !lives.empty();) {
        while (!last && lives.size() < kLivesAtATime) {
            const pid_t life = fork();
            if (life == 0)
                std::exit(Live(GetParam(), number));
            lives[life] = number++;
        }
        int status = 0;
        const pid_t life = wait(&status);
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        const bool asItShould = code == kReturned || code == kThrew || code == -kEnded;
        last = last || !asItShould;
        EXPECT_TRUE(asItShould || code == kNothingFailed)
            << "allocation " << lives[life] << ": exit status " << code << ", below 0 a signal";
        lives.erase(life);
    }
    EXPECT_GT(number, kLeastAllocations);
}

constexpr const char* kNames[] = {"OfTheIoThread", "OfTheLentThread", "OfADocument"};
INSTANTIATE_TEST_SUITE_P(Each, Allocation,
                         testing::Values(Thread::kIo, Thread::kLent, Thread::kDocument),
                         [](const auto& each) -> std::string {
                             return kNames[static_cast<int>(each.param)];
                         });

} // namespace
