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
    // Deliberate: "uuid:" stands before the whole identifier, which normally begins with
    // "urn:uuid:" itself. Whoever matches on this doubled form would lose us with any other.
    const std::string relatesTo = "uuid:" + probeMessageId;

    XMLDocument document;
    XMLElement* body = OpenMessage(document, kProbeMatchesAction, relatesTo.c_str(), kAnonymousUri);
    XMLElement* matches = AppendElement(*body, "wsd:ProbeMatches");
    XMLElement* match = AppendElement(*matches, "wsd:ProbeMatch");
    // Deliberate: always the MAC scope, even when empty; the scope list belongs to Hello.
    AppendTarget(*match, description, MakeMacScope(document, description.mac));
    out = PrintDocument(document);
}

} // namespace kx
