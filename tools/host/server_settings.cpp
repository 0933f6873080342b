#include "server_settings.h"

#include "host_document.h"
#include "print_document.h"

using tinyxml2::XMLElement;

namespace kx::tools {

std::string MakeServerDocument(int port, const std::vector<Adapter>& adapters)
{
    tinyxml2::XMLDocument document;
    XMLElement* root = document.NewElement(kRootElement);
    document.InsertEndChild(root);
    root->SetAttribute(kDeltaAttribute, 0);
    XMLElement* server = root->InsertNewChildElement("Servers")->InsertNewChildElement("Server");
    server->SetAttribute("Port", port);
    XMLElement* network = server->InsertNewChildElement("Network");
    for (const Adapter& each : adapters) {
        XMLElement* adapter = network->InsertNewChildElement("Adapter");
        adapter->SetAttribute("MACAddress", each.macAddress.c_str());
        adapter->SetAttribute("Handle", each.name.c_str());
        adapter->SetAttribute("IPAddress", each.ipAddress.c_str());
        adapter->SetAttribute("Connected", 1);
    }
    return PrintDocument(document);
}

} // namespace kx::tools
