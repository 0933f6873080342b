#include "announcement.h"
#include "data.h"
#include "discovery_soap.h"
#include "envelope.h"
#include "uris.h"

#include <gtest/gtest.h>

#include <regex>

using namespace std::string_literals;

namespace {

/// Replaces the UUID in MessageID, which differs in each message, by "*".
std::string WithoutIdentifier(const std::string& message)
{
    return std::regex_replace(
        message, std::regex("(MessageID>urn:uuid:)[0-9a-f-]{36}(</wsa:MessageID>)"), "$1*$2");
}

kx::EndpointDescription Recorder()
{
    // The address ends with a NUL, as each string from NewUuidString does.
    return {"addr&1\0"s,
            "00:11:22:33:44:55",
            {"NetworkVideoRecorder"},
            "ktzkx://10.0.0.5:22609",
            {"scope/a", "scope/b"}};
}

TEST(Messages, AreExact)
{
    const kx::CDiscoverySoap soap;
    std::string message = "old";
    soap.Hello(Recorder(), message);
    EXPECT_EQ(WithoutIdentifier(message), ReadData("hello.xml"));
    soap.Bye(Recorder(), message);
    EXPECT_EQ(WithoutIdentifier(message), ReadData("bye.xml"));
    const std::string first = message;
    soap.Bye(Recorder(), message);
    EXPECT_NE(message, first) << "no new identifier";
    kx::EndpointDescription description = Recorder();
    description.mac.clear(); // even without a MAC address, ProbeMatches has the scope "mac:"
    soap.ProbeMatches("urn:uuid:0a1b<2", description, message);
    EXPECT_EQ(WithoutIdentifier(message), ReadData("probe_matches.xml"));
    kx::BuildAnnouncement(description, 2, message);
    EXPECT_EQ(message, "") << "neither Hello nor Bye";
}

TEST(Messages, HelloWithoutMacUsesTheScopeListOrNone)
{
    kx::EndpointDescription description = Recorder();
    description.mac.clear();
    std::string hello;
    kx::CDiscoverySoap().Hello(description, hello);
    EXPECT_NE(hello.find("<wsd:Scopes>scope/a scope/b</wsd:Scopes>"), std::string::npos);
    description.scopes.clear();
    description.types.clear();
    kx::CDiscoverySoap().Hello(description, hello);
    EXPECT_EQ(hello.find("Scopes"), std::string::npos);
    EXPECT_NE(hello.find("<wsd:Types></wsd:Types>"), std::string::npos);
}

TEST(Lists, TextsAreExact)
{
    struct Case {
        std::vector<std::string> list;
        std::string types;
        std::string scopes; ///< "none": MakeScopes returns null
    };
    const Case cases[] = {{{}, "", "none"},
                          {{""}, "ktz:", ""},
                          {{"X", "ktz:Y"}, "ktz:X ktz:Y", "X ktz:Y"},
                          {{"dn:ktz:X", "ktz"}, "ktz:dn:ktz:X ktz:ktz", "dn:ktz:X ktz"}};
    tinyxml2::XMLDocument document;
    const auto text = [](const tinyxml2::XMLElement* element) -> std::string {
        if (!element)
            return "none";
        return element->GetText() ? element->GetText() : "";
    };
    for (const Case& each : cases) {
        EXPECT_EQ(text(kx::MakeTypes(document, each.list)), each.types);
        EXPECT_EQ(text(kx::MakeScopes(document, each.list)), each.scopes);
    }
}

class ParseProbe : public testing::TestWithParam<DataCase> {};

TEST_P(ParseProbe, DecidesAndReturnsTheTextsFound)
{
    kx::CDiscoverySoap soap;
    soap.types.assign(std::begin(kx::kDeviceTypes), std::end(kx::kDeviceTypes));
    std::string messageId;
    std::string types;
    std::string action;
    // Copied without a terminating NUL, so that a sanitizer detects a read past the end.
    const std::vector<char> data(GetParam().text.begin(), GetParam().text.end());
    const int result = soap.ParseProbe(data.data(), data.size(), messageId, types, action);
    EXPECT_EQ(std::to_string(result) + "|" + action + "|" + messageId + "|" + types,
              GetParam().expected);
    EXPECT_TRUE(result == 0 || soap.MayMatch(data.data(), data.size()));
}

TEST(MayMatch, RejectsWhatIsNotAProbeOrNamesNoType)
{
    kx::CDiscoverySoap soap;
    soap.types = {"NetworkVideoRecorder"};
    const auto mayMatch = [&](const std::string& text) {
        const std::vector<char> data(text.begin(), text.end());
        return soap.MayMatch(data.data(), data.size());
    };
    EXPECT_TRUE(mayMatch("<d:Probe><d:Types>NetworkVideoRecorder"));
    EXPECT_TRUE(mayMatch("<d:Probe><d:Types>&#78;"));
    EXPECT_FALSE(mayMatch("<d:Probe><d:Types>dn:NetworkVideoTransmitter NetworkVideoRecorde"));
    EXPECT_FALSE(mayMatch("<d:Hello>&amp;<d:Types>NetworkVideoRecorder"));
    EXPECT_FALSE(mayMatch(""));
}

INSTANTIATE_TEST_SUITE_P(Cases, ParseProbe, testing::ValuesIn(ReadCases("probes.txt")),
                         [](const auto& each) { return each.param.name; });

} // namespace
