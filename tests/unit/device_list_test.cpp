#include "data.h"
#include "device_list.h"
#include "printable.h"
#include "words.h"

#include <gtest/gtest.h>

#include <sstream>

using kx::tools::Event;
using kx::tools::Message;

namespace {

std::vector<std::string> ListOf(const std::string& word)
{
    return word == "-" ? std::vector<std::string>() : std::vector<std::string>{word};
}

std::string TextOf(const std::vector<std::string>& list)
{
    return list.empty() ? "-" : kx::tools::Join(list);
}

std::string Show(const Event& event)
{
    const auto& [device, adapter, source, time, roundTrip] = event.heard;
    std::string text = event.otherPath ? "+" : "";
    text += std::string(NameOf(event.kind)) + " " + device.address + " " + adapter + " " +
            TextOf(device.xaddrs);
    return event.was ? text + " < " + TextOf(event.was->xaddrs) + " " + TextOf(event.was->scopes)
                     : text;
}

class DeviceList : public testing::TestWithParam<DataCase> {};

TEST_P(DeviceList, TellsWhatIsNew)
{
    kx::tools::CDeviceList devices("T", GetParam().name.find("Once") != 0);
    std::string told;
    std::istringstream lines(GetParam().text);
    for (std::string line; std::getline(lines, line);) {
        std::string kind, address, adapter, source, xaddrs, scope, type;
        std::istringstream(line) >> kind >> address >> adapter >> source >> xaddrs >> scope >> type;
        std::vector<Event> events;
        if (kind == "round")
            devices.StartRound();
        else if (kind == "judge")
            events = devices.TakeSilent();
        else
            events = devices.Take(kind == "hello" ? Message::Kind::kHello
                                  : kind == "bye" ? Message::Kind::kBye
                                                  : Message::Kind::kProbeMatches,
                                  {{address, ListOf(type), ListOf(scope), ListOf(xaddrs)},
                                   adapter,
                                   {boost::asio::ip::make_address(source), 3702},
                                   {},
                                   {}});
        for (const Event& each : events)
            told += (told.empty() ? "" : ", ") + Show(each);
    }
    EXPECT_EQ(told + "; " + std::to_string(devices.PathCount()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, DeviceList, testing::ValuesIn(ReadCases("sightings.txt")),
                         [](const auto& each) { return each.param.name; });

TEST(Printable, EscapesWhatFillsNoColumn)
{
    const std::string text = kx::tools::Printable("\x1b[m \u00e9\u65e5 \u0085\u202e \x80\xe2\x80");
    EXPECT_EQ(text, "\\x1b[m \u00e9\u65e5 \\xc2\\x85\\xe2\\x80\\xae \\x80\\xe2\\x80");
    EXPECT_EQ(kx::tools::ColumnCount(text), 44U);
}

} // namespace
