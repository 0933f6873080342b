#include "envelope.h"

#include "uris.h"
#include "uuid.h"

#include <cstring>

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace kx {
namespace {

constexpr char kVendorPrefix[] = "ktz:";

XMLElement* MakeText(XMLDocument& document, const char* name, const char* text)
{
    XMLElement* element = document.NewElement(name);
    element->SetText(text);
    return element;
}

void AppendText(XMLElement& parent, const char* name, const char* text)
{
    parent.InsertEndChild(MakeText(*parent.GetDocument(), name, text));
}

/// Attaches the XML declaration and s:Envelope; returns s:Envelope.
///
/// Deliberate: declares XML 1.1. A client that compares the first line byte by byte would drop a
/// message that declares 1.0.
XMLElement* MakeEnvelope(XMLDocument& document)
{
    document.InsertEndChild(document.NewDeclaration("xml version=\"1.1\" encoding=\"UTF-8\""));
    XMLElement* envelope = document.NewElement("s:Envelope");
    envelope->SetAttribute("xmlns:s", kSoapEnvelopeUri);
    envelope->SetAttribute("xmlns:wsa", kAddressingUri);
    envelope->SetAttribute("xmlns:wsd", kDiscoveryUri);
    envelope->SetAttribute("xmlns:ktz", kVendorDiscoveryUri);
    document.InsertEndChild(envelope);
    return envelope;
}

XMLElement* MakeXAddrs(XMLDocument& document, const std::string& xaddrs)
{
    return MakeText(document, "wsd:XAddrs", xaddrs.c_str());
}

void DropTrailingSpace(std::string& text)
{
    if (!text.empty())
        text.pop_back();
}

} // namespace

XMLElement* MakeEndpointReference(XMLDocument& document, const std::string& address)
{
    XMLElement* reference = document.NewElement("wsa:EndpointReference");
    AppendText(*reference, "wsa:Address", address.c_str());
    return reference;
}

XMLElement* MakeMacScope(XMLDocument& document, const std::string& mac)
{
    return MakeText(document, "wsd:Scopes", (kMacScopePrefix + mac).c_str());
}

XMLElement* MakeTypes(XMLDocument& document, const std::vector<std::string>& types)
{
    std::string text;
    for (const std::string& type : types) {
        if (type.compare(0, std::strlen(kVendorPrefix), kVendorPrefix) != 0)
            text += kVendorPrefix;
        text += type;
        text += ' ';
    }
    DropTrailingSpace(text);
    return MakeText(document, "wsd:Types", text.c_str());
}

XMLElement* MakeScopes(XMLDocument& document, const std::vector<std::string>& scopes)
{
    std::string text;
    for (const std::string& scope : scopes)
        text += scope + ' ';
    if (text.empty())
        return nullptr;
    DropTrailingSpace(text);
    return MakeText(document, "wsd:Scopes", text.c_str());
}

XMLElement* OpenMessage(XMLDocument& document, const char* action, const char* relatesTo,
                        const char* to)
{
    XMLElement* envelope = MakeEnvelope(document);
    XMLElement* header = AppendElement(*envelope, "s:Header");
    AppendText(*header, "wsa:Action", action);
    std::string identifier;
    NewUuidString(identifier);
    AppendText(*header, "wsa:MessageID", ("urn:uuid:" + identifier).c_str());
    if (relatesTo)
        AppendText(*header, "wsa:RelatesTo", relatesTo);
    AppendText(*header, "wsa:To", to);
    return AppendElement(*envelope, "s:Body");
}

XMLElement* AppendElement(XMLElement& parent, const char* name)
{
    XMLElement* element = parent.GetDocument()->NewElement(name);
    parent.InsertEndChild(element);
    return element;
}

void AppendTarget(XMLElement& parent, const EndpointDescription& description, XMLElement* scopes)
{
    XMLDocument& document = *parent.GetDocument();
    parent.InsertEndChild(MakeEndpointReference(document, description.address));
    parent.InsertEndChild(MakeTypes(document, description.types));
    if (scopes)
        parent.InsertEndChild(scopes);
    parent.InsertEndChild(MakeXAddrs(document, description.xaddrs));
    // Deliberate: always 1, although WS-Discovery (April 2005) 4.1 requires a higher number after a
    // change of the metadata. Each run would count from 1 again. A client that identifies the
    // recorder by its MAC address and remembers a higher number would ignore new metadata as old.
    AppendText(parent, "wsd:MetadataVersion", "1");
}

} // namespace kx
