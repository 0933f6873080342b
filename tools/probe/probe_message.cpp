#include "probe_message.h"

#include "envelope.h"
#include "namespaces.h"
#include "print_document.h"
#include "uris.h"
#include "words.h"

using tinyxml2::XMLElement;

namespace kx::tools {

ProbeMessage MakeProbe(const std::string& uri, const std::string& type)
{
    tinyxml2::XMLDocument document;
    XMLElement* body = OpenMessage(document, kProbeAction, nullptr, kDiscoveryUrn);
    XMLElement* types = MakeTypes(document, {type});
    if (uri != kVendorDiscoveryUri) {
        // Behind the others: recorders take the first namespace that looks right for each purpose.
        document.RootElement()->SetAttribute("xmlns:dn", uri.c_str());
        types->SetText(("dn:" + type).c_str());
    }
    AppendElement(*body, "wsd:Probe")->InsertEndChild(types);

    const XMLElement* header = FindChild(document.RootElement(), kSoapEnvelopeUri, "Header");
    const XMLElement* identifier = FindChild(header, kAddressingUri, "MessageID");
    return {Join(Words(identifier)), PrintDocument(document)};
}

} // namespace kx::tools
