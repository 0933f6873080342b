#include "data.h"
#include "message_reader.h"
#include "words.h"

#include <gtest/gtest.h>

using kx::tools::Join;
using kx::tools::Message;

namespace {

/// "RelatesTo ours or other's|kind|address,XAddrs,mac,types|...", or "none".
std::string Show(const std::optional<Message>& message)
{
    if (!message)
        return "none";
    std::string text =
        RelatesTo(*message, "urn:uuid:0a1b2c3d-0000-4000-8000-00000000000f") ? "ours" : "other's";
    text += "|" + std::to_string(static_cast<int>(message->kind));
    for (const auto& each : message->devices)
        text += "|" + each.address + "," + Join(each.xaddrs) + "," + MacOf(each) + "," +
                Join(each.types);
    return text;
}

class ReadMessage : public testing::TestWithParam<DataCase> {};

TEST_P(ReadMessage, FindsWhatADeviceSaysWhateverItsPrefixes)
{
    const std::vector<char> data(GetParam().text.begin(), GetParam().text.end());
    EXPECT_EQ(Show(kx::tools::ReadMessage(data.data(), data.size())), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReadMessage, testing::ValuesIn(ReadCases("answers.txt")),
                         [](const auto& each) { return each.param.name; });

} // namespace
