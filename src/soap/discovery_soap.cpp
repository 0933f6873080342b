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
    // Deliberate: "uuid:" precedes the whole identifier, which normally begins with "urn:uuid:"
    // itself. Clients that match answers by this doubled form would miss any other.
    const std::string relatesTo = "uuid:" + probeMessageId;

    XMLDocument document;
    XMLElement* body = OpenMessage(document, kProbeMatchesAction, relatesTo.c_str(), kAnonymousUri);
    XMLElement* matches = AppendElement(*body, "wsd:ProbeMatches");
    XMLElement* match = AppendElement(*matches, "wsd:ProbeMatch");
    // Deliberate: always the MAC scope, even when empty. A client that reads the MAC address there
    // would fail on an answer without the element, or take a configured scope for the address.
    AppendTarget(*match, description, MakeMacScope(document, description.mac));
    out = PrintDocument(document);
}

} // namespace kx
