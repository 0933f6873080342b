#include "probe_message.h"

#include "text.h"
#include "uris.h"
#include "uuid.h"

#include <tinyxml2.h>

#include <functional>

using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

/// Builds a message. `soap`, `addressing` and `discovery` are its namespace prefixes.
class CMessageBuilder {
public:
    explicit CMessageBuilder(const std::optional<DeviceType>& type)
        : soap(Prefix("soap", type)),
          addressing(Prefix("wsa", type)),
          discovery(Prefix("wsd", type))
    {
        document.InsertEndChild(document.NewDeclaration());
        envelope = document.NewElement((soap + ":Envelope").c_str());
        document.InsertEndChild(envelope);
        Declare(soap, kSoapEnvelopeUri);
        Declare(addressing, kAddressingUri);
        Declare(discovery, kDiscoveryUri);
        if (type)
            Declare(type->prefix, type->uri);
    }

    static XMLElement& Append(XMLElement& parent, const std::string& prefix, const char* name,
                              const std::string& text = "")
    {
        XMLElement* element = parent.InsertNewChildElement((prefix + ":" + name).c_str());
        if (!text.empty())
            element->SetText(text.c_str());
        return *element;
    }

    /// Returns the message without white space between elements, because some devices read white
    /// space as content.
    std::string Text() const
    {
        tinyxml2::XMLPrinter printer(nullptr, /*compact*/ true);
        document.Accept(&printer);
        return printer.CStr();
    }

    const std::string soap;
    const std::string addressing;
    const std::string discovery;
    XMLElement* envelope;

private:
    /// Returns the usual prefix; another one if the user gave the usual one to the device type.
    static std::string Prefix(const std::string& usual, const std::optional<DeviceType>& type)
    {
        return type && type->prefix == usual ? usual + "0" : usual;
    }

    void Declare(const std::string& prefix, const std::string& uri)
    {
        envelope->SetAttribute(("xmlns:" + prefix).c_str(), uri.c_str());
    }

    tinyxml2::XMLDocument document;
};

/// @param name      local name of the element in the body, and last part of the action URI
/// @param type      device type whose prefix is declared, if any
/// @param complete  fills the element in the body
ClientMessage Build(const char* name, const std::optional<DeviceType>& type,
                    const std::function<void(CMessageBuilder&, XMLElement&)>& complete)
{
    std::string uuid;
    NewUuidString(uuid);
    const std::string identifier = Compose("urn:uuid:", uuid.c_str());

    CMessageBuilder message(type);
    XMLElement& header = message.Append(*message.envelope, message.soap, "Header");
    message.Append(header, message.addressing, "Action", Compose(kDiscoveryUri, "/", name));
    message.Append(header, message.addressing, "MessageID", identifier);
    message.Append(header, message.addressing, "To", kDiscoveryUrn);
    XMLElement& body = message.Append(*message.envelope, message.soap, "Body");
    complete(message, message.Append(body, message.discovery, name));
    return {identifier, message.Text()};
}

} // namespace

ClientMessage MakeProbe(const std::optional<DeviceType>& sought)
{
    return Build("Probe", sought, [&](CMessageBuilder& message, XMLElement& probe) {
        if (sought)
            message.Append(probe, message.discovery, "Types", sought->prefix + ":" + sought->name);
    });
}

ClientMessage MakeResolve(const std::string& address)
{
    return Build("Resolve", std::nullopt, [&](CMessageBuilder& message, XMLElement& resolve) {
        message.Append(message.Append(resolve, message.addressing, "EndpointReference"),
                       message.addressing, "Address", address);
    });
}

} // namespace kx::tools
