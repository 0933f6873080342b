#include "data.h"
#include "device_list.h"
#include "join.h"
#include "message_reader.h"
#include "printable.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <sstream>

using kx::tools::Join;
using kx::tools::Message;
using kx::tools::Unread;

namespace {

/// Returns a message, or the reason why it is ignored, in the form of answers.txt.
std::string Show(const std::variant<Message, Unread>& read)
{
    const char* const reasons[] = {"not well-formed", "other version", "no address",
                                   "other message"};
    if (const auto* unread = std::get_if<Unread>(&read))
        return reasons[static_cast<std::size_t>(*unread)];
    const auto* message = std::get_if<Message>(&read);
    std::string text =
        RelatesTo(*message, "urn:uuid:0a1b2c3d-0000-4000-8000-00000000000f") ? "ours" : "other's";
    text += "|" + std::to_string(static_cast<int>(message->kind));
    for (const auto& each : message->devices)
        text += "|" + each.address + "," + Join(each.xaddrs) + "," + MacOf(each) + "," +
                Join(each.types);
    return text;
}

class ReadMessage : public testing::TestWithParam<DataCase> {};

TEST_P(ReadMessage, ReadsDevicesUnderAnyPrefix)
{
    const std::vector<char> data(GetParam().text.begin(), GetParam().text.end());
    EXPECT_EQ(Show(kx::tools::ReadMessage(data.data(), data.size())), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReadMessage, testing::ValuesIn(ReadCases("answers.txt")),
                         [](const auto& each) { return each.param.name; });

std::vector<std::string> ListOf(const std::string& word, const std::string& start = "")
{
    return word == "-" ? std::vector<std::string>() : std::vector<std::string>{start + word};
}

std::string Show(const kx::tools::Event& event)
{
    const kx::tools::Device& device = event.heard.device;
    return std::string(event.otherPath ? "+" : "") + NameOf(event.kind) + " " + device.address +
           " " + event.heard.adapter + " (" + Join(device.xaddrs) + ")" +
           (event.was ? " was (" + Join(event.was->xaddrs) + ") " + Join(event.was->scopes) : "");
}

class DeviceList : public testing::TestWithParam<DataCase> {};

TEST_P(DeviceList, ReportsChanges)
{
    const std::map<std::string, Message::Kind> kinds{{"answer", Message::Kind::kProbeMatches},
                                                     {"resolved", Message::Kind::kResolveMatches},
                                                     {"hello", Message::Kind::kHello},
                                                     {"bye", Message::Kind::kBye}};
    kx::tools::CDeviceList devices(kx::tools::DeviceType{"t", "urn:t", "T"},
                                   GetParam().name.find("Once") != 0);
    std::string told;
    std::istringstream lines(GetParam().text);
    for (std::string line; std::getline(lines, line);) {
        std::string kind, address, adapter, source, xaddrs, scope, type;
        std::istringstream(line) >> kind >> address >> adapter >> source >> xaddrs >> scope >> type;
        const kx::tools::Device device{
            address, ListOf(type, "{urn:t}"), ListOf(scope), ListOf(xaddrs), {}};
        const auto from = boost::asio::ip::make_address(source.empty() ? "0.0.0.0" : source);
        for (const auto& each :
             kind == "round" ? devices.RemoveSilent()
             : kind == "end"
                 ? devices.ReleaseHeld()
                 : devices.Record(kinds.at(kind), {device, {}, {}, adapter, {from, 1}, {}, {}}))
            told += Show(each) + ", ";
        if (kind == "round")
            devices.StartRound();
    }
    told += std::to_string(devices.PathCount());
    if (devices.OtherCount() > 0)
        told += " and others: " + std::to_string(devices.OtherCount());
    EXPECT_EQ(told, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, DeviceList, testing::ValuesIn(ReadCases("sightings.txt")),
                         [](const auto& each) { return each.param.name; });

TEST(HellosAlone, ReplaceTheOldestWhenFull)
{
    kx::tools::CDeviceList devices(std::nullopt, true);
    kx::tools::Heard heard{};
    std::string told;
    for (int number = 0; number <= 20'000; ++number) {
        heard.device.address = std::to_string(number);
        heard.time += std::chrono::seconds(1);
        for (const auto& each : devices.Record(Message::Kind::kHello, heard))
            told += each.kind == kx::tools::Event::Kind::kLost ? Show(each) : "";
    }
    EXPECT_EQ(told, "lost 0  ()");
}

TEST(Printable, EscapesInvisibleCharacters)
{
    const std::string text = kx::tools::Printable("\x1b[m \u00e9\u65e5 \u0085\u202e \x80\xe2\x80");
    EXPECT_EQ(text, "\\x1b[m \u00e9\u65e5 \\xc2\\x85\\xe2\\x80\\xae \\x80\\xe2\\x80");
    EXPECT_EQ(kx::tools::ColumnCount(text), 44U);
    EXPECT_EQ(kx::tools::Wrap("ab c d\ne", 4, 1), "ab c\n d\n e");
}

} // namespace
