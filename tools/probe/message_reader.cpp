#include "message_reader.h"

#include "join.h"
#include "namespaces.h"
#include "uris.h"
#include "uuid.h"

#include <algorithm>
#include <charconv>
#include <strings.h>

using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

constexpr std::size_t kUuidLength = kUuidTextSize - 1;

/// Local names of the elements in the body of one kind of message.
struct BodyForm {
    const char* name;  ///< the element in the body
    const char* match; ///< its children, one per device; null: the element itself describes one
    Message::Kind kind;
};

constexpr BodyForm kBodyForms[] = {
    {"Hello", nullptr, Message::Kind::kHello},
    {"Bye", nullptr, Message::Kind::kBye},
    {"ProbeMatches", "ProbeMatch", Message::Kind::kProbeMatches},
    {"ResolveMatches", "ResolveMatch", Message::Kind::kResolveMatches},
};

const XMLElement* FindInAnyNamespace(const XMLElement* parent, const char* localName)
{
    const XMLElement* each = parent ? parent->FirstChildElement() : nullptr;
    while (each && LocalName(each->Name()) != localName)
        each = each->NextSiblingElement();
    return each;
}

/// Returns whether a body has an element that kBodyForms names, in any namespace. If so, the
/// message is of another version: the caller found no such element in the namespace of WS-Discovery
/// (April 2005).
bool IsOfOtherVersion(const XMLElement* body)
{
    return std::any_of(std::begin(kBodyForms), std::end(kBodyForms), [&](const BodyForm& each) {
        return FindInAnyNamespace(body, each.name) != nullptr;
    });
}

std::optional<std::uint64_t> ReadNumber(const std::string& text)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

std::optional<AppSequence> ReadAppSequence(const XMLElement* element)
{
    AppSequence sequence{};
    if (!element || element->QueryAttribute("InstanceId", &sequence.instanceId) != 0 ||
        element->QueryAttribute("MessageNumber", &sequence.messageNumber) != 0)
        return std::nullopt;
    if (const char* sequenceId = element->Attribute("SequenceId"))
        sequence.sequenceId = sequenceId;
    return sequence;
}

Device ReadDevice(const XMLElement* element)
{
    const XMLElement* reference = FindChild(element, kAddressingUri, "EndpointReference");
    const XMLElement* types = FindChild(element, kDiscoveryUri, "Types");
    Device device{Join(Words(FindChild(reference, kAddressingUri, "Address"))), Words(types),
                  Words(FindChild(element, kDiscoveryUri, "Scopes")),
                  Words(FindChild(element, kDiscoveryUri, "XAddrs")),
                  ReadNumber(Join(Words(FindChild(element, kDiscoveryUri, "MetadataVersion"))))};
    for (std::string& type : device.types)
        type = ExpandedName(types, type);
    return device;
}

/// @param message    in: the message without its devices
/// @param described  the element that describes the first device; may be null
/// @param match      see BodyForm
std::variant<Message, Unread> ReadDevices(Message message, const XMLElement* described,
                                          const char* match)
{
    const bool otherVersion = FindInAnyNamespace(described, "EndpointReference") &&
                              !FindChild(described, kAddressingUri, "EndpointReference");
    while (described) {
        message.devices.push_back(ReadDevice(described));
        if (message.devices.back().address.empty())
            message.devices.pop_back();
        described = match ? FindNext(described, kDiscoveryUri, match) : nullptr;
    }
    if (message.devices.empty())
        return otherVersion ? Unread::kOtherVersion : Unread::kNoAddress;
    return message;
}

} // namespace

std::variant<Message, Unread> ReadMessage(const char* data, std::size_t length)
{
    tinyxml2::XMLDocument document;
    if (document.Parse(data, length) != tinyxml2::XML_SUCCESS)
        return Unread::kNotWellFormed;
    const XMLElement* root = document.RootElement();
    // In any namespace: some devices answer in SOAP 1.1, which has another namespace than SOAP 1.2.
    const XMLElement* header = FindInAnyNamespace(root, "Header");
    const XMLElement* body = FindInAnyNamespace(root, "Body");
    for (const BodyForm& form : kBodyForms) {
        const XMLElement* content = FindChild(body, kDiscoveryUri, form.name);
        if (!content)
            continue;
        return ReadDevices({form.kind,
                            Join(Words(FindChild(header, kAddressingUri, "RelatesTo"))),
                            ReadAppSequence(FindChild(header, kDiscoveryUri, "AppSequence")),
                            {}},
                           form.match ? FindChild(content, kDiscoveryUri, form.match) : content,
                           form.match);
    }
    return IsOfOtherVersion(body) ? Unread::kOtherVersion : Unread::kOtherMessage;
}

bool RelatesTo(const Message& answer, const std::string& identifier)
{
    const auto uuidOf = [](const std::string& text) {
        return text.size() > kUuidLength ? text.substr(text.size() - kUuidLength) : text;
    };
    return strcasecmp(uuidOf(answer.relatesTo).c_str(), uuidOf(identifier).c_str()) == 0;
}

} // namespace kx::tools
