#include "server_document_reader.h"

#include "host_document.h"

#include <cstdio>
#include <string>
#include <utility>

using tinyxml2::XMLElement;

namespace kx {
namespace {

constexpr std::int32_t kUpToNul = -1;

/// Returns false if the attribute is missing or empty.
bool ReadText(const XMLElement& element, const char* name, std::string& value)
{
    const char* text = element.Attribute(name);
    if (!text || !*text)
        return false;
    value = text;
    return true;
}

const XMLElement* Child(const XMLElement* parent, const char* name)
{
    return parent ? parent->FirstChildElement(name) : nullptr;
}

} // namespace

// Deliberate: not XMLElement::QueryIntAttribute. It reads "0x10" as 16 since tinyxml2 8.1 and as 0
// before, so a document's port would depend on the library's version.
bool ReadInteger(const XMLElement& element, const char* name, std::int32_t& value)
{
    const char* text = element.Attribute(name);
    return text && std::sscanf(text, "%d", &value) == 1;
}

bool ParseServerDocument(tinyxml2::XMLDocument& document, const char* text, std::int32_t length)
{
    // A length below -1 would become a huge size_t, which tinyxml2 cannot allocate. Its
    // std::bad_alloc would reach the host.
    return length >= kUpToNul &&
           document.Parse(text, static_cast<std::size_t>(length)) == tinyxml2::XML_SUCCESS;
}

ServerElements FindServerElements(const tinyxml2::XMLDocument& document)
{
    ServerElements found{};
    found.root = document.FirstChildElement(kRootElement);
    std::int32_t delta = 0;
    if (!found.root || !ReadInteger(*found.root, kDeltaAttribute, delta) || delta != 0)
        return found;
    found.servers = Child(found.root, kServersElement);
    found.server = Child(found.servers, kServerElement);
    found.network = Child(found.server, kNetworkElement);
    return found;
}

const char* ReadAdapter(const XMLElement& element, AdapterRecord& adapter)
{
    if (!ReadText(element, kMacAddressAttribute, adapter.macAddress))
        return kMacAddressAttribute;
    if (!ReadText(element, kHandleAttribute, adapter.handle))
        return kHandleAttribute;
    if (!ReadText(element, kIpAddressAttribute, adapter.ipAddress))
        return kIpAddressAttribute;
    std::int32_t connected = 0;
    if (!ReadInteger(element, kConnectedAttribute, connected) || connected != 1)
        return kConnectedAttribute;
    return nullptr;
}

std::optional<ServerSettings> ReadServerDocument(const char* text, std::int32_t length)
{
    tinyxml2::XMLDocument document;
    if (!ParseServerDocument(document, text, length))
        return std::nullopt;
    const ServerElements elements = FindServerElements(document);
    if (!elements.network)
        return std::nullopt;

    ServerSettings settings;
    std::int32_t port = 0;
    if (ReadInteger(*elements.server, kPortAttribute, port))
        settings.port = port;
    for (const XMLElement* each = Child(elements.network, kAdapterElement); each;
         each = each->NextSiblingElement(kAdapterElement)) {
        AdapterRecord adapter;
        if (!ReadAdapter(*each, adapter))
            settings.adapters.push_back(std::move(adapter));
    }
    return settings;
}

} // namespace kx
