#include "uuid.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <regex>
#include <set>
#include <unistd.h>
#include <vector>

// Calls of open, read and close go to the functions __wrap_... below (ld(1), --wrap). While
// `script` has steps, calls for the random device take their results from it, and all others go to
// the system.
extern "C" {
int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int descriptor, void* data, size_t size);
int __real_close(int descriptor);
}

namespace {

constexpr int kDevice = 7777;
struct Step {
    char call;      ///< 'o'pen, 'r'ead, 'c'lose
    ssize_t result; ///< of a read: the number of bytes; the bytes of all reads are 0, 1, 2 ...
    int error = 0;
};
std::deque<Step> script;
std::vector<size_t> readSizes;
std::uint8_t nextByte = 0;

ssize_t Play(char call)
{
    const Step step = script.front();
    EXPECT_EQ(step.call, call);
    script.pop_front();
    errno = step.error;
    return step.result;
}

} // namespace

extern "C" int __wrap_open(const char* path, int flags, ...)
{
    if (script.empty() || std::strcmp(path, "/dev/urandom") != 0)
        return __real_open(path, flags, 0644);
    EXPECT_EQ(flags, O_RDONLY);
    return static_cast<int>(Play('o'));
}

// The C library's headers can turn open into these functions: with _FILE_OFFSET_BITS 64, which
// newer versions of tinyxml2 set, and with _FORTIFY_SOURCE.
extern "C" int __wrap_open64(const char* path, int flags, ...)
{
    return __wrap_open(path, flags);
}

extern "C" int __wrap___open_2(const char* path, int flags)
{
    return __wrap_open(path, flags);
}

extern "C" int __wrap___open64_2(const char* path, int flags)
{
    return __wrap_open(path, flags);
}

extern "C" ssize_t __wrap_read(int descriptor, void* data, size_t size)
{
    if (descriptor != kDevice)
        return __real_read(descriptor, data, size);
    readSizes.push_back(size);
    const ssize_t count = Play('r');
    for (ssize_t index = 0; index < count; ++index)
        static_cast<std::uint8_t*>(data)[index] = nextByte++;
    return count;
}

extern "C" int __wrap_close(int descriptor)
{
    return descriptor == kDevice ? static_cast<int>(Play('c')) : __real_close(descriptor);
}

namespace {

std::string Scripted(const std::deque<Step>& steps)
{
    script = steps;
    readSizes.clear();
    nextByte = 0;
    std::string text;
    kx::NewUuidString(text);
    EXPECT_TRUE(script.empty());
    return text;
}

const std::string kCountingUuid = std::string("03020100-0504-0706-0809-0a0b0c0d0e0f") + '\0';

TEST(Uuid, TextIsLowercaseHexWithTheNulInside)
{
    std::set<std::string> texts;
    std::set<char> versions;
    std::set<char> variants;
    for (int round = 0; round < 500; ++round) {
        std::string text = "something that was there before, longer than an identifier";
        kx::NewUuidString(text);
        ASSERT_EQ(text.size(), 37U);
        ASSERT_TRUE(std::regex_match(text.c_str(),
                                     std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")));
        texts.insert(text);
        versions.insert(text[14]);
        variants.insert(text[19]);
    }
    EXPECT_EQ(texts.size(), 500U);
    EXPECT_EQ(versions.size(), 16U) << "version bits are masked";
    EXPECT_EQ(variants.size(), 16U) << "variant bits are masked";
}

TEST(Uuid, BufferBelow37BytesIsLeftAlone)
{
    char buffer[37] = "untouched";
    script = {{'o', kDevice}}; // the step would be gone if the device was opened
    kx::CreateUuidText(buffer, 36);
    EXPECT_EQ(script.size(), 1U);
    script.clear();
    EXPECT_FALSE(kx::FormatGuidText({}, buffer, 36));
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_TRUE(kx::FormatGuidText({}, buffer, 37));
    EXPECT_STREQ(buffer, "00000000-0000-0000-0000-000000000000");
}

TEST(Uuid, ReadsOnAfterInterruptionsAndShortReads)
{
    const std::deque<Step> steps = {{'o', -1, EINTR}, {'o', kDevice}, {'r', 5},
                                    {'r', -1, EINTR}, {'r', 10},      {'r', 1},
                                    {'c', -1, EIO}};
    testing::internal::CaptureStderr();
    EXPECT_EQ(Scripted(steps), kCountingUuid);
    EXPECT_EQ(readSizes, (std::vector<size_t>{16, 11, 11, 1}));
    const std::string warning = testing::internal::GetCapturedStderr();
    EXPECT_NE(warning.find("CoCreateGuid(): close: /dev/urandom: Input/output error\n"),
              std::string::npos)
        << warning;
}

TEST(UuidDeathTest, DeviceThatEndsEarlyEndsTheProcess)
{
    EXPECT_EXIT(Scripted({{'o', kDevice}, {'r', 5}, {'r', 0}}), testing::ExitedWithCode(74),
                "CoCreateGuid\\(\\): read: /dev/urandom: EOF, got 5 of 16 bytes requested\n");
}

} // namespace
