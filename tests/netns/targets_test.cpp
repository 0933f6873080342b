// Runs pelorin-probe against simulated devices, the targets, and compares its output. A target
// answers only messages that contain a given text, so that the output depends on the messages too.

#include "data.h"
#include "discovery_group.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/ip/udp.hpp>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <regex>
#include <sstream>
#include <sys/wait.h>
#include <thread>

namespace asio = boost::asio;
using asio::ip::udp;

namespace {

/// A target's answer to each message that arrives by `way` and contains `text`. The way is "group",
/// "direct" (messages to 127.0.0.1) or, as in "group6", only the sixth message to the group.
struct Reaction {
    std::string way;
    std::string text;
    std::string answer;
};

/// Targets on loopback. They run on a thread of their own from the constructor to the destructor.
class Targets {
public:
    explicit Targets(std::vector<Reaction> given) : reactions(std::move(given))
    {
        const auto loopback = asio::ip::address_v4::loopback();
        const auto group = asio::ip::make_address_v4(kx::kMulticastGroup);
        Open(fromGroup, group);
        fromGroup.set_option(asio::ip::multicast::join_group(group, loopback));
        Open(direct, loopback);
        Receive(fromGroup, "group");
        Receive(direct, "direct");
        thread = std::thread([this] { service.run(); });
    }
    Targets(const Targets&) = delete;
    Targets& operator=(const Targets&) = delete;
    ~Targets()
    {
        service.stop();
        thread.join();
    }

private:
    static void Open(udp::socket& socket, const asio::ip::address_v4& address)
    {
        socket.open(udp::v4());
        socket.set_option(udp::socket::reuse_address(true));
        socket.set_option(udp::socket::receive_buffer_size(1024 * 1024));
        socket.bind({address, kx::kDiscoveryPort});
    }

    void Receive(udp::socket& socket, const std::string& way, int count = 1)
    {
        socket.async_wait(socket.wait_read, [this, &socket, way, count](const auto& /*error*/) {
            udp::endpoint source;
            const std::size_t length = socket.receive_from(asio::buffer(buffer), source);
            React({buffer.data(), length}, way, count, source);
            Receive(socket, way, count + 1);
        });
    }

    void React(const std::string& message, const std::string& way, int count,
               const udp::endpoint& source)
    {
        const std::string mark = "MessageID>";
        const std::size_t start = message.find(mark) + mark.size();
        const std::string identifier = message.substr(start, message.find('<', start) - start);
        for (const Reaction& each : reactions) {
            if ((each.way != way && each.way != way + std::to_string(count)) ||
                message.find(each.text) == std::string::npos)
                continue;
            std::string answer = each.answer;
            if (const std::size_t at = answer.find("@ID"); at != std::string::npos)
                answer.replace(at, 3, identifier);
            direct.send_to(asio::buffer(answer), source);
        }
    }

    const std::vector<Reaction> reactions;
    std::array<char, 65536> buffer{};
    asio::io_context service;
    udp::socket fromGroup{service};
    udp::socket direct{service};
    std::thread thread;
};

std::string RunProbe(const std::string& arguments)
{
    const std::string command = PELORIN_PROBE " --adapter lo " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    for (std::array<char, 4096> piece{}; std::fgets(piece.data(), piece.size(), pipe);)
        output += piece.data();
    const int status = pclose(pipe);
    return output + "status " + std::to_string(WEXITSTATUS(status));
}

/// Returns the output on one line, with the parts that differ from run to run replaced. In
/// pelorin-probe's table, a round trip of a second or more remains, so that the test fails.
std::string Plain(std::string output)
{
    for (const auto& [pattern, replacement] :
         {std::pair(" [0-9]{1,3}\\.[0-9] ms", " T ms"),
          {"\"time\":\"[^\"]*\"", "\"time\":T"},
          {"\n[0-9]{2}(:[0-9.]+){2} ", "\nT "},
          {"\"roundTripMs\":[0-9.]+", "\"roundTripMs\":T"},
          {"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}", "UUID"},
          {" +", " "},
          {"\n", " / "}})
        output = std::regex_replace(output, std::regex(pattern), replacement);
    return output;
}

class ProbeOf : public testing::TestWithParam<DataCase> {};

TEST_P(ProbeOf, ListsDevicesOfTheSoughtType)
{
    std::vector<Reaction> reactions;
    std::istringstream text(GetParam().text);
    std::string arguments;
    std::getline(text, arguments);
    for (std::string line; std::getline(text, line);) {
        std::string way;
        if (std::istringstream words(line);
            words >> way && (way.find("group") == 0 || way == "direct"))
            reactions.push_back({way, line.substr(way.size() + 1), ""});
        else
            reactions.back().answer += line + "\n";
    }
    const Targets targets(reactions);
    if (arguments.find("--timeout") == std::string::npos)
        arguments = "--timeout 0.4 " + arguments;
    EXPECT_EQ(Plain(RunProbe(arguments)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProbeOf, testing::ValuesIn(ReadCases("targets.txt")),
                         [](const auto& each) { return each.param.name; });

/// Returns the answers of `count` recorders to a Probe to the group. `withXAddrs` replaces the
/// XAddrs element of each: "$&" keeps the element, "" removes it.
std::vector<Reaction> Crowd(int count, const char* withXAddrs)
{
    const std::string first = ReadCases("targets.txt").front().text;
    const std::string answer = std::regex_replace(
        first.substr(first.find('<')), std::regex("<d:XAddrs>.*</d:XAddrs>"), withXAddrs);
    std::vector<Reaction> reactions;
    for (int number = 0; number < count; ++number)
        reactions.push_back({"group", "Probe>",
                             std::regex_replace(answer, std::regex("@A"), std::to_string(number))});
    return reactions;
}

TEST(Probe, ReceivesACrowdOrReportsLosses)
{
    constexpr int kCount = 2000;
    const Targets targets(Crowd(kCount, "$&"));
    const std::string output = RunProbe("--timeout 2");
    std::smatch counts;
    ASSERT_TRUE(std::regex_search(output, counts, std::regex("([0-9]+) found(; ([0-9]+) lost)?")));
    EXPECT_EQ(std::stoi(counts[1]) + (counts[3].matched ? std::stoi(counts[3]) : 0), kCount);
}

TEST(Probe, AsksAtMostAHundredDevicesForTheirXAddrs)
{
    std::vector<Reaction> reactions = Crowd(101, "");
    reactions.push_back({"group", "Resolve>", "x"});
    const Targets targets(reactions);
    const std::string output = RunProbe("--timeout 2");
    EXPECT_NE(output.find("\n101 found; ignored: 100 not well-formed\n"), output.npos) << output;
}

} // namespace
