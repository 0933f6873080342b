#include "server_document.h"

#include "host_document.h"

#include <boost/thread/lock_guard.hpp>
#include <tinyxml2.h>

#include <cstdio>

using tinyxml2::XMLElement;

namespace kx {
namespace {

constexpr std::int32_t kUpToNul = -1;

/// Reads an integer attribute as a "%d" scan does; `value` is untouched when it does not read.
///
/// Deliberate: not XMLElement::QueryIntAttribute, which takes "0x10" for 16 since tinyxml2 8.1.
bool ReadInteger(const XMLElement& element, const char* name, std::int32_t& value)
{
    const char* text = element.Attribute(name);
    return text && std::sscanf(text, "%d", &value) == 1;
}

/// Reads an attribute that must be there and not be empty.
bool ReadText(const XMLElement& element, const char* name, std::string& value)
{
    const char* text = element.Attribute(name);
    if (!text || !*text)
        return false;
    value = text;
    return true;
}

bool ReadAdapter(const XMLElement& element, AdapterRecord& adapter)
{
    std::int32_t connected = 0;
    return ReadText(element, "MACAddress", adapter.macAddress) &&
           ReadText(element, "Handle", adapter.handle) &&
           ReadText(element, "IPAddress", adapter.ipAddress) &&
           ReadInteger(element, "Connected", connected) && connected == 1;
}

const XMLElement* Child(const XMLElement* parent, const char* name)
{
    return parent ? parent->FirstChildElement(name) : nullptr;
}

} // namespace

void ApplyServerDocument(PluginContext& context, const char* text, std::int32_t length)
{
    // As a huge size it would throw out of the XML library into the host.
    if (length < kUpToNul)
        return;
    tinyxml2::XMLDocument document;
    if (document.Parse(text, static_cast<std::size_t>(length)) != tinyxml2::XML_SUCCESS)
        return;

    const XMLElement* root = document.FirstChildElement(kRootElement);
    std::int32_t delta = 0;
    if (!root || !ReadInteger(*root, kDeltaAttribute, delta) || delta != 0)
        return;
    const XMLElement* server = Child(Child(root, "Servers"), "Server");
    const XMLElement* network = Child(server, "Network");
    if (!network)
        return;

    std::vector<AdapterRecord> adapters;
    for (const XMLElement* each = Child(network, "Adapter"); each;
         each = each->NextSiblingElement("Adapter")) {
        AdapterRecord adapter;
        if (ReadAdapter(*each, adapter))
            adapters.push_back(adapter);
    }
    std::int32_t port = 0;
    const bool portGiven = ReadInteger(*server, "Port", port);

    {
        const boost::lock_guard<boost::mutex> lock(context.mutex);
        context.adapters.swap(adapters);
        if (portGiven)
            context.serverPort = port;
    }
    // The previous adapters, now held here, are freed outside the lock.
    context.condition.notify_all();
}

} // namespace kx
