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

/// The threads that allocate; allocations of kTest never fail. A thread that the plug-in creates is
/// kIo: it creates no other.
enum class Thread { kIo, kLent, kDocument, kTest };
thread_local Thread current = Thread::kIo;
thread_local bool inCallback = false;

Thread failing = Thread::kTest;
std::atomic<int> countdown{0}; ///< allocations left; the last one fails
std::atomic<bool> failed{false};

} // namespace

// Not inlined: the compiler would warn that memory from operator new is passed to free.
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

// The sanitizers' versions of these operators would not call those above.
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
constexpr int kNothingFailed = 0;
constexpr int kReturned = 10;
constexpr int kThrew = 11;
/// The signal that ends the process in std::terminate: under ThreadSanitizer an exit is slow.
constexpr int kEnded = SIGUSR1;

std::atomic<int> hellos{0};
std::atomic<int> answers{0};

void CountMessages(const PelorinHostRequest* request, PelorinHostReply* /*reply*/)
{
    inCallback = true;
    const auto* const record = static_cast<const char*>(request->data);
    // Short texts: a failed allocation may truncate the record.
    hellos += std::strstr(record, "Sending He") ? 1 : 0;
    answers += std::strstr(record, "Send Probe") ? 1 : 0;
    inCallback = false;
}

/// Runs the plug-in from Load to Unload with two endpoints, a Probe and a change of adapters, in a
/// separate network. Allocation `number` of the thread fails. Returns the process's exit status.
int Live(Thread thread, int number)
{
    alarm(20);
    std::set_terminate([] { std::raise(failed ? kEnded : SIGABRT); });
    current = Thread::kTest;
    if (unshare(CLONE_NEWNET) != 0)
        return EXIT_FAILURE;
    Network::Run("ip link set lo up");
    Socket prober("lo", "127.0.0.1", 0);
    // Never closed: after a run that threw, only the library points to the plug-in's context, which
    // would then be reported as a leak.
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
    // Repeats until the plug-in has acted, or gives up if a failure prevents that.
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
        plugin.Unload(); // would wait for a run that threw
    if (!failed)
        return kNothingFailed;
    return runThrew || documentThrew ? kThrew : kReturned;
}

class Allocation : public testing::TestWithParam<Thread> {};

// AddressSanitizer searches for leaks in each process that ends by itself.
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
