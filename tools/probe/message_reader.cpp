#include "message_reader.h"

#include "namespaces.h"
#include "uris.h"
#include "uuid.h"
#include "words.h"

#include <algorithm>
#include <strings.h>

using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

constexpr std::size_t kUuidLength = kUuidTextSize - 1;

Device ReadDevice(const XMLElement* element)
{
    const XMLElement* reference = FindChild(element, kAddressingUri, "EndpointReference");
    const XMLElement* types = FindChild(element, kDiscoveryUri, "Types");
    Device device{Join(Words(FindChild(reference, kAddressingUri, "Address"))), Words(types),
                  Words(FindChild(element, kDiscoveryUri, "Scopes")),
                  Words(FindChild(element, kDiscoveryUri, "XAddrs"))};
    for (std::string& type : device.types)
        type = ExpandedName(types, type);
    return device;
}

} // namespace

std::optional<Message> ReadMessage(const char* data, std::size_t length)
{
    tinyxml2::XMLDocument document;
    if (document.Parse(data, length) != tinyxml2::XML_SUCCESS)
        return std::nullopt;
    const XMLElement* envelope = document.RootElement();
    if (!IsElement(envelope, kSoapEnvelopeUri, "Envelope"))
        return std::nullopt;
    const XMLElement* header = FindChild(envelope, kSoapEnvelopeUri, "Header");
    const XMLElement* body = FindChild(envelope, kSoapEnvelopeUri, "Body");

    Message message{};
    if (const XMLElement* matches = FindChild(body, kDiscoveryUri, "ProbeMatches")) {
        message.kind = Message::Kind::kProbeMatches;
        message.relatesTo = Join(Words(FindChild(header, kAddressingUri, "RelatesTo")));
        if (message.relatesTo.empty())
            return std::nullopt;
        for (const XMLElement* each = FindChild(matches, kDiscoveryUri, "ProbeMatch"); each;
             each = FindNext(each, kDiscoveryUri, "ProbeMatch"))
            message.devices.push_back(ReadDevice(each));
    } else {
        const XMLElement* hello = FindChild(body, kDiscoveryUri, "Hello");
        const XMLElement* bye = FindChild(body, kDiscoveryUri, "Bye");
        if (!hello && !bye)
            return std::nullopt;
        message.kind = hello ? Message::Kind::kHello : Message::Kind::kBye;
        message.devices.push_back(ReadDevice(hello ? hello : bye));
    }
    const bool nameless = std::any_of(message.devices.begin(), message.devices.end(),
                                      [](const Device& each) { return each.address.empty(); });
    return nameless || message.devices.empty() ? std::nullopt : std::optional<Message>(message);
}

bool RelatesTo(const Message& answer, const std::string& identifier)
{
    const auto uuidOf = [](const std::string& text) {
        return text.size() > kUuidLength ? text.substr(text.size() - kUuidLength) : text;
    };
    return strcasecmp(uuidOf(answer.relatesTo).c_str(), uuidOf(identifier).c_str()) == 0;
}

} // namespace kx::tools
