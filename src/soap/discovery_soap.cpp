#include "discovery_soap.h"

#include "announcement.h"
#include "envelope.h"
#include "print_document.h"
#include "uris.h"

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace kx {

void CDiscoverySoap::Hello(const EndpointDescription& description, std::string& out) const
{
    BuildAnnouncement(description, kAnnounceHello, out);
}

void CDiscoverySoap::Bye(const EndpointDescription& description, std::string& out) const
{
    BuildAnnouncement(description, kAnnounceBye, out);
}

void CDiscoverySoap::ProbeMatches(const std::string& probeMessageId,
                                  const EndpointDescription& description, std::string& out) const
{
    // Deliberate: "uuid:", although the MessageID normally begins with "urn:uuid:" itself. Some
    // clients ignore an answer with any other RelatesTo.
    const std::string relatesTo = "uuid:" + probeMessageId;

    XMLDocument document;
    XMLElement* body = OpenMessage(document, kProbeMatchesAction, relatesTo.c_str(), kAnonymousUri);
    XMLElement* matches = AppendElement(*body, "wsd:ProbeMatches");
    XMLElement* match = AppendElement(*matches, "wsd:ProbeMatch");
    // Deliberate: always contains the MAC scope, even if the MAC address is empty, and never
    // `description.scopes`. Clients read the MAC address from this element. They would fail if it
    // were missing, and would take another scope for a MAC address.
    AppendTarget(*match, description, MakeMacScope(document, description.mac));
    out = PrintDocument(document);
}

} // namespace kx
