#include "announcement.h"

#include "envelope.h"
#include "print_document.h"
#include "uris.h"

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace kx {

void BuildAnnouncement(const EndpointDescription& description, unsigned kind, std::string& out)
{
    out.clear();
    if (kind > kAnnounceBye)
        return;
    const bool hello = kind == kAnnounceHello;

    XMLDocument document;
    XMLElement* body =
        OpenMessage(document, hello ? kHelloAction : kByeAction, nullptr, kDiscoveryUrn);
    XMLElement* announcement = AppendElement(*body, hello ? "wsd:Hello" : "wsd:Bye");
    if (hello) {
        XMLElement* scopes = nullptr;
        if (!description.mac.empty())
            scopes = MakeMacScope(document, description.mac);
        else if (!description.scopes.empty())
            scopes = MakeScopes(document, description.scopes);
        AppendTarget(*announcement, description, scopes);
    } else {
        announcement->InsertEndChild(MakeEndpointReference(document, description.address));
    }
    out = PrintDocument(document);
}

} // namespace kx
