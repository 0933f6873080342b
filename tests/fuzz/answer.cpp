// If ParseProbe accepts the input: composes the answer and checks its text, and that pelorin-probe
// can read it.

#include "discovery_soap.h"
#include "message_reader.h"
#include "require.h"

namespace {

const kx::EndpointDescription kRecorder{"0a1b2c3d-0000-4000-8000-000000000001",
                                        "00:11:22:33:44:55",
                                        {"NetworkVideoRecorder"},
                                        "ktzkx://10.0.0.5:22609",
                                        {}};

std::string Answer(const std::string& messageId)
{
    std::string answer;
    kx::CDiscoverySoap().ProbeMatches(messageId, kRecorder, answer);
    return answer;
}

/// Returns a text as the plug-in writes it between tags, with references for &, < and > (XML 1.0
/// 2.4).
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char each : text) {
        if (each == '&')
            escaped += "&amp;";
        else if (each == '<')
            escaped += "&lt;";
        else if (each == '>')
            escaped += "&gt;";
        else
            escaped += each;
    }
    return escaped;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const kx::CDiscoverySoap soap{{"NetworkVideoRecorder"}};
    static const std::size_t emptySize = Answer("").size();
    std::string messageId;
    std::string types;
    std::string action;
    if (soap.ParseProbe(reinterpret_cast<const char*>(data), size, messageId, types, action) != 1)
        return 0;

    const std::string answer = Answer(messageId);
    const std::string identifier = Escaped(messageId);
    Require(answer.find("<wsa:RelatesTo>uuid:" + identifier + "</wsa:RelatesTo>") !=
                std::string::npos,
            "RelatesTo is the identifier, escaped");
    Require(answer.size() == emptySize + identifier.size(), "nothing else depends on the Probe");

    const auto read = kx::tools::ReadMessage(answer.data(), answer.size());
    const auto* message = std::get_if<kx::tools::Message>(&read);
    Require(message && message->kind == kx::tools::Message::Kind::kProbeMatches,
            "the answer is well-formed");
    Require(message->devices.size() == 1 && message->devices[0].address == kRecorder.address &&
                message->devices[0].xaddrs[0] == kRecorder.xaddrs,
            "the answer is of the recorder");
    return 0;
}
