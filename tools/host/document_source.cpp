#include "document_source.h"

#include "host_document.h"
#include "print_document.h"
#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

constexpr int kNoIndex = 0; // no device has it
constexpr char kStandardInput[] = "-";

std::string MakeDocument(int port, const std::vector<Adapter>& adapters)
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
        adapter->SetAttribute("Connected", each.connected ? 1 : 0);
    }
    return PrintDocument(document);
}

std::string Summary(int port, const std::vector<Adapter>& adapters)
{
    std::string list;
    for (const Adapter& each : adapters) {
        list += list.empty() ? " " : ", ";
        list += each.name + " (" + each.ipAddress;
        if (!each.connected)
            list += each.ipAddress.empty() ? "not connected" : ", not connected";
        list += ")";
    }
    return Compose("port ", port, ", adapters:", list.empty() ? " none" : list);
}

/// Whether an adapter was connected and is so no more, or is now another device.
bool IsGone(const Adapter& before, const std::vector<Adapter>& adapters)
{
    return before.connected &&
           std::none_of(adapters.begin(), adapters.end(), [&](const Adapter& each) {
               return each.connected && each.name == before.name && each.index == before.index;
           });
}

std::string ReadAll(const std::string& name)
{
    try {
        std::ifstream file;
        if (name != kStandardInput) {
            file.open(name, std::ios::binary);
            if (!file)
                throw std::system_error(errno, std::generic_category());
        }
        std::istream& input = name == kStandardInput ? std::cin : file;
        return {std::istreambuf_iterator<char>(input), {}};
    } catch (const std::system_error& error) {
        throw std::runtime_error(Compose("cannot read the document ", name, ": ",
                                         error.code().message(),
                                         "; --document takes a file, or - for standard input"));
    }
}

} // namespace

CAdapterSource::CAdapterSource(int serverPort, ReadListed listed, bool follow)
    : port(serverPort), readListed(std::move(listed))
{
    if (follow)
        monitor.emplace();
}

void CAdapterSource::Read()
{
    ReadChanges();
    handedOverText.clear();
}

int CAdapterSource::Descriptor() const
{
    return monitor ? monitor->Descriptor() : -1;
}

void CAdapterSource::ReadChanges()
{
    // A device may come back even with its old index, as from another network namespace.
    const std::set<int> deleted = monitor ? monitor->TakeDeleted() : std::set<int>();
    for (Adapter& each : handedOver) {
        if (deleted.count(each.index) > 0)
            each.index = kNoIndex;
    }
    target = readListed();
    pending = true;
}

std::optional<ServerDocument> CAdapterSource::Next()
{
    if (!std::exchange(pending, false))
        return std::nullopt;

    std::set<std::string> gone;
    for (const Adapter& each : handedOver) {
        if (IsGone(each, target))
            gone.insert(each.name);
    }
    std::vector<Adapter> next;
    for (const Adapter& each : target) {
        if (each.connected && gone.count(each.name) > 0)
            pending = true;
        else
            next.push_back(each);
    }

    handedOver = next;
    std::string text = MakeDocument(port, next);
    if (text == handedOverText)
        return std::nullopt;
    handedOverText = text;
    return ServerDocument{std::move(text), Summary(port, next), !gone.empty(), false};
}

CFileSource::CFileSource(std::string file) : name(std::move(file)) {}

void CFileSource::Read()
{
    if (std::exchange(inputRead, name == kStandardInput))
        throw std::runtime_error("standard input can be read only once");
    std::string text = ReadAll(name);
    if (text.size() > std::numeric_limits<std::int32_t>::max())
        throw std::runtime_error(Compose("the document ", name, " is too long"));
    unsent = std::move(text);
}

std::optional<ServerDocument> CFileSource::Next()
{
    if (!unsent)
        return std::nullopt;
    ServerDocument next{std::move(*unsent), "", false, true};
    unsent.reset();
    next.summary =
        Compose(name == kStandardInput ? "standard input" : name, ", ", next.text.size(), " bytes");
    return next;
}

} // namespace kx::tools
