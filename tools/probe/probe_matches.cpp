#include "probe_matches.h"

#include "namespaces.h"
#include "uris.h"
#include "uuid.h"

#include <sstream>
#include <strings.h>

using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

constexpr char kMacScopePrefix[] = "mac:";
constexpr std::size_t kUuidLength = kUuidTextSize - 1;

std::string MacOf(const std::string& scopes)
{
    const std::string prefix = kMacScopePrefix;
    std::istringstream words(scopes);
    for (std::string scope; words >> scope;) {
        if (scope.compare(0, prefix.size(), prefix) == 0)
            return scope.substr(prefix.size());
    }
    return "";
}

ProbeMatch ReadMatch(const XMLElement* match)
{
    const XMLElement* reference = FindChild(match, kAddressingUri, "EndpointReference");
    return {CollapsedText(FindChild(reference, kAddressingUri, "Address")),
            CollapsedText(FindChild(match, kDiscoveryUri, "XAddrs")),
            MacOf(CollapsedText(FindChild(match, kDiscoveryUri, "Scopes")))};
}

} // namespace

std::optional<ProbeMatches> ReadProbeMatches(const char* data, std::size_t length)
{
    tinyxml2::XMLDocument document;
    if (document.Parse(data, length) != tinyxml2::XML_SUCCESS)
        return std::nullopt;
    const XMLElement* envelope = document.RootElement();
    if (!IsElement(envelope, kSoapEnvelopeUri, "Envelope"))
        return std::nullopt;
    const XMLElement* header = FindChild(envelope, kSoapEnvelopeUri, "Header");
    const XMLElement* body = FindChild(envelope, kSoapEnvelopeUri, "Body");
    const XMLElement* matches = FindChild(body, kDiscoveryUri, "ProbeMatches");

    ProbeMatches answer;
    answer.relatesTo = CollapsedText(FindChild(header, kAddressingUri, "RelatesTo"));
    if (!matches || answer.relatesTo.empty())
        return std::nullopt;
    for (const XMLElement* each = FindChild(matches, kDiscoveryUri, "ProbeMatch"); each;
         each = FindNext(each, kDiscoveryUri, "ProbeMatch")) {
        answer.matches.push_back(ReadMatch(each));
        if (answer.matches.back().address.empty())
            return std::nullopt;
    }
    return answer;
}

bool RelatesTo(const ProbeMatches& answer, const std::string& identifier)
{
    const auto uuidOf = [](const std::string& text) {
        return text.size() > kUuidLength ? text.substr(text.size() - kUuidLength) : text;
    };
    return strcasecmp(uuidOf(answer.relatesTo).c_str(), uuidOf(identifier).c_str()) == 0;
}

} // namespace kx::tools
