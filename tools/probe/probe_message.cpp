#include "probe_message.h"

#include "envelope.h"
#include "namespaces.h"
#include "print_document.h"
#include "uris.h"

using tinyxml2::XMLElement;

namespace kx::tools {

ProbeMessage MakeProbe(const std::string& type)
{
    tinyxml2::XMLDocument document;
    XMLElement* body = OpenMessage(document, kProbeAction, nullptr, kDiscoveryUrn);
    AppendElement(*body, "wsd:Probe")->InsertEndChild(MakeTypes(document, {type}));

    const XMLElement* header = FindChild(document.RootElement(), kSoapEnvelopeUri, "Header");
    const XMLElement* identifier = FindChild(header, kAddressingUri, "MessageID");
    return {CollapsedText(identifier), PrintDocument(document)};
}

} // namespace kx::tools
