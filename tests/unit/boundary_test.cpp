#include "fake_host.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>

namespace {

constexpr std::uint32_t k0 = 0;

RecordBytes Descriptor()
{
    RecordBytes reply;
    reply.Put(8, std::array<std::uint64_t, 9>{0x4c0000, 0, 0, 0x3000010, 0, 0, 0, 0x1000010, 0});
    return reply.Put(96, std::array<std::uint8_t, 6>{1, 0, 0, 1, 0, 0}).Put(104, k0);
}

struct CallCase {
    const char* name;
    const char* entry;
    RecordBytes request;
    RecordBytes reply;
};

class Replies : public testing::TestWithParam<CallCase> {};

TEST_P(Replies, ChangeOnlyTheirFields)
{
    const FakeHost host;
    if (std::string(GetParam().name).find("NotLoaded") == std::string::npos)
        host.Load();
    RecordBytes request = GetParam().request;
    RecordBytes reply;
    EXPECT_EQ(host.Call(GetParam().entry, request, reply), 0U);
    EXPECT_EQ(reply.bytes, GetParam().reply.bytes);
    EXPECT_EQ(request.bytes, GetParam().request.bytes);
}

RecordBytes Transfer(std::uint8_t flag, std::uint64_t destination)
{
    return RecordBytes().Put(12, flag).Put(32, destination);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Replies,
    testing::Values(
        CallCase{"Load", "Load", RecordBytes().Put(16, std::uint64_t{0}), Descriptor()},
        CallCase{"Open", "Open", {}, RecordBytes().Put(8, k0).Put(12, k0)},
        CallCase{"Close", "Close", {}, RecordBytes().Put(8, k0)},
        CallCase{"CloseNotLoaded", "Close", {}, RecordBytes().Put(8, k0)},
        CallCase{"Unload", "Unload", {}, RecordBytes().Put(8, k0)},
        CallCase{"UnloadNotLoaded", "Unload", {}, RecordBytes().Put(8, k0)},
        CallCase{"Seek", "Seek", {}, RecordBytes().Put(8, k0)},
        CallCase{"Ioctl0", "IOCTL", RecordBytes().Put(8, k0), RecordBytes().Put(12, k0)},
        CallCase{"Ioctl3", "IOCTL", RecordBytes().Put(8, std::uint32_t{3}),
                 RecordBytes().Put(12, k0)},
        CallCase{"Ioctl2Null", "IOCTL",
                 RecordBytes().Put(8, std::uint32_t{2}).Put(24, k0).Put(32, std::uint64_t{0}),
                 RecordBytes().Put(12, k0)},
        CallCase{
            "Ioctl2HugeLength", "IOCTL",
            RecordBytes().Put(8, std::uint32_t{2}).Put(24, 0x80000000U).Put(32, std::uint64_t{8}),
            RecordBytes().Put(12, k0)},
        CallCase{"Read0", "Read", Transfer(0, 0), RecordBytes().Put(24, k0)},
        CallCase{"Read1", "Read", Transfer(1, 0), RecordBytes().Put(24, 0xFFFFFFFFU)},
        CallCase{"Read255", "Read", Transfer(255, 0), RecordBytes().Put(24, 0xFFFFFF01U)},
        CallCase{"WriteFlagged", "Write", Transfer(2, 0), RecordBytes().Put(24, k0)},
        CallCase{"WriteToUs", "Write", Transfer(0, 0x4c0000), RecordBytes().Put(24, k0)},
        CallCase{"WriteToOthers", "Write", Transfer(0, 0x1004c0000), {}}),
    [](const auto& each) { return each.param.name; });

TEST(Boundary, OpenSendsTheRegistrationWhateverTheHostAnswers)
{
    FakeHost host;
    host.status = 7;
    RecordBytes request;
    RecordBytes descriptor;
    host.Call("Load", request.Put(16, std::uint64_t{0}), descriptor);
    host.Load(); // replaces the null callback of the first Load
    host.Call("Open");
    host.Call("Open");
    const std::vector<HostCall> calls = host.Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].data, calls[1].data);
    EXPECT_EQ(calls[0].data.back(), '\0');
    EXPECT_EQ(calls[0].data.find('\0'), calls[0].data.size() - 1);

    std::fill_n(request.bytes.begin(), 224, std::uint8_t{0});
    request.Put(0, std::uint32_t{224}).Put(4, std::uint32_t{1});
    request.Put(8, static_cast<std::uint32_t>(calls[0].data.size()));
    request.Put(16, calls[0].request.Get<const void*>(16)).Put(24, std::uint64_t{0x4c0000});
    request.Put(40, std::uint64_t{256}).Put(48, std::uint64_t{0x1000010});
    EXPECT_EQ(calls[0].request.bytes, request.bytes);
    const std::array<std::uint32_t, 3> reply{12, 1, 0};
    EXPECT_EQ(calls[0].reply.bytes, RecordBytes().Put(0, reply).bytes);
}

TEST(Boundary, SecondLoadKeepsTheContextAndUnloadDropsIt)
{
    FakeHost host;
    host.Load();
    host.Call("Close");
    host.Load(); // keeps the stop request of Close: the run below ends immediately
    RecordBytes request;
    RecordBytes reply;
    host.Call("IOCTL", request.Put(8, std::uint32_t{1}), reply);
    EXPECT_EQ(host.Log(),
              (std::vector<std::string>{"25 Stopping discovery operations on all interfaces",
                                        "25 io service thread exiting"}));
    host.Call("Unload");
    host.Load();
    host.Run();
    EXPECT_TRUE(host.Log().empty());
    host.Apply(MakeTestDocument({}, "22609"));
    host.Apply("<Qorm Delta=\"1\"/>");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(host.Log().empty()) << "nothing changed";
    host.Apply(MakeTestDocument({}, "1"));
    EXPECT_TRUE(host.WaitFor("Stopping discovery operations on all interfaces"));
}

TEST(Boundary, EarlyDocumentWaitsForTheNextBroadcast)
{
    FakeHost host;
    host.Load();
    host.Apply(MakeTestDocument({"10.0.0.300 lo m"}, "80"));
    host.Load(); // keeps the plug-in's state, and so the document
    host.Lend();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    host.Apply(MakeTestDocument({}, "80")); // no change: the run began with port 80, no adapters
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(host.Log(), std::vector<std::string>{});
    host.Apply(MakeTestDocument({"10.0.0.300 lo m"}, "80"));
    EXPECT_TRUE(host.WaitFor("Discovery encountered error (system:22)"));
}

TEST(Boundary, UnloadWaitsForTheRun)
{
    FakeHost host;
    host.Load();
    host.Run();
    host.onRecord = [](const std::string&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    };
    host.Call("Close");
    host.Call("Unload");
    ASSERT_FALSE(host.Log().empty());
    EXPECT_EQ(host.Log().back(), "25 io service thread exiting");
}

TEST(Boundary, LibraryIsGoneAfterUnload)
{
    for (int round = 0; round < 100; ++round) {
        {
            FakeHost host;
            host.Load();
            host.Call("Open");
            host.Run();
        }
        std::ifstream maps("/proc/self/maps");
        const std::string text{std::istreambuf_iterator<char>(maps), {}};
        ASSERT_EQ(text.find("pelorin.so"), std::string::npos) << "round " << round;
    }
}

} // namespace
