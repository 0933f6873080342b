#include "core_log.h"
#include "data.h"
#include "document_check.h"
#include "module_registration.h"
#include "report.h"
#include "send_to_host.h"
#include "server_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <locale>

namespace {

struct Sent {
    std::uint64_t command = 0;
    std::string data;
};
std::vector<Sent> sent;

void KeepSent(const kx::HostRequest* request, kx::HostReply* reply)
{
    sent.push_back({request->command,
                    std::string(static_cast<const char*>(request->data), request->dataLength)});
    reply->status = 5;
}

class HostDocuments : public testing::Test {
protected:
    HostDocuments()
    {
        sent.clear();
        kx::SetHostCallback(&KeepSent);
    }
};

std::string LogRecord(const std::string& level, const std::string& text)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<log_msg level=\"" + level + "\">" + text +
           "</log_msg>\n" + '\0';
}

TEST_F(HostDocuments, LogRecordIsExact)
{
    struct Case {
        std::int32_t level;
        std::string text;
        std::string record;
    };
    const Case cases[] = {
        {25, "a%d%s\"'", LogRecord("25", "a%d%s\"'")},
        {-3, "<&>", LogRecord("-3", "&lt;&amp;&gt;")},
        {75, "", LogRecord("75", "")},
        {50, std::string(600, 'x'), LogRecord("50", std::string(511, 'x'))},
    };
    for (const Case& each : cases) {
        sent.clear();
        kx::log::g_coreLog.Log(each.level, each.text);
        ASSERT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0].command, 64U);
        EXPECT_EQ(sent[0].data, each.record);
    }
}

TEST_F(HostDocuments, LevelZeroGoesToStandardErrorAndNoSinkToStandardOutput)
{
    testing::internal::CaptureStderr();
    kx::log::g_coreLog.Log(0, "local");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "local\n");
    testing::internal::CaptureStdout();
    kx::log::Report(nullptr, kx::log::kLogError, "no ", 1, " sink");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "no 1 sink\n");
    EXPECT_TRUE(sent.empty());
}

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(HostDocuments, RegistrationIsExactInAnyLocale)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    kx::SendModuleRegistration();
    kx::log::Report(&kx::log::g_coreLog, 25, 22609, " ", kx::Compose(-1234567));
    std::locale::global(before);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].command, 256U);
    EXPECT_EQ(sent[0].data, std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<Qorm Delta="0">
    <Modules>
        <Module Name="Pelorin" ID="4980736" Version="8.6.2.115651"/>
    </Modules>
</Qorm>
)") + '\0');
    EXPECT_EQ(sent[1].data, LogRecord("25", "22609 -1234567"));
}

/// Returns the context's port and adapters as "port ip/handle/mac/xaddr ...".
std::string Show(const kx::PluginContext& context)
{
    std::string text = std::to_string(context.serverPort);
    for (const kx::AdapterRecord& each : context.adapters)
        text += " " + each.ipAddress + "/" + each.handle + "/" + each.macAddress + "/" + each.xAddr;
    return text;
}

class ServerDocuments : public testing::TestWithParam<DataCase> {};

TEST_P(ServerDocuments, AreTakenInOrDropped)
{
    kx::PluginContext context;
    context.serverPort = 7;
    context.adapters = {{"old", "h", "m", ""}};
    // Copied without a terminating NUL, so that a sanitizer detects a read past the end.
    const std::vector<char> data(GetParam().text.begin(), GetParam().text.end());
    kx::ApplyServerDocument(context, data.data(), static_cast<std::int32_t>(data.size()));
    EXPECT_EQ(Show(context), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ServerDocuments,
                         testing::ValuesIn(ReadCases("server_documents.txt")),
                         [](const auto& each) { return each.param.name; });

/// Returns the verdict and the findings in the form of document_checks.txt.
std::string Show(const kx::tools::DocumentCheck& check)
{
    std::string text = kx::tools::ToText(check.verdict);
    for (const kx::tools::DocumentFinding& each : check.findings)
        text += " | " + ToText(each);
    return text;
}

class DocumentChecks : public testing::TestWithParam<DataCase> {};

TEST_P(DocumentChecks, AgreeWithThePlugin)
{
    using kx::tools::DocumentFinding;
    const kx::tools::Devices devices{{"eth0", {"10.0.0.5", "10.0.0.6"}},
                                     {"eth1", {"10.0.0.6", "10.0.1.5"}}};
    const std::string& text = GetParam().text;
    const kx::tools::DocumentCheck check = kx::tools::CheckDocument(text, devices);
    EXPECT_EQ(Show(check), GetParam().expected);

    kx::PluginContext context;
    context.adapters.resize(100);
    kx::ApplyServerDocument(context, text.data(), static_cast<std::int32_t>(text.size()));
    const auto taken = std::count_if(check.findings.begin(), check.findings.end(), [](auto& each) {
        return each.kind == DocumentFinding::Kind::kUsed;
    });
    const bool dropped = check.verdict == kx::tools::DocumentCheck::Verdict::kDropped;
    EXPECT_EQ(context.adapters.size(), dropped ? 100U : static_cast<std::size_t>(taken));
}

INSTANTIATE_TEST_SUITE_P(Cases, DocumentChecks, testing::ValuesIn(ReadCases("document_checks.txt")),
                         [](const auto& each) { return each.param.name; });

TEST(ServerDocument, LengthDecidesWhereItEnds)
{
    const std::string text = "<Qorm Delta='0'><Servers><Server Port='1'><Network/></Server>"
                             "</Servers></Qorm>";
    const auto length = static_cast<std::int32_t>(text.size());
    struct Case {
        const char* text;
        std::int32_t length;
        const char* shown;
    };
    const Case cases[] = {{text.c_str(), length, "1"},         {text.c_str(), -1, "1"},
                          {text.c_str(), length - 1, "22609"}, {text.c_str(), 0, "22609"},
                          {text.c_str(), -2, "22609"},         {text.c_str(), INT32_MIN, "22609"},
                          {nullptr, length, "22609"},          {nullptr, -1, "22609"}};
    for (const Case& each : cases) {
        kx::PluginContext context;
        kx::ApplyServerDocument(context, each.text, each.length);
        EXPECT_EQ(Show(context), each.shown) << each.length;
    }
}

} // namespace
