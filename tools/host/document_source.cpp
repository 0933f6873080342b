#include "document_source.h"

#include "host_document.h"
#include "host_log.h"
#include "print_document.h"
#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
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

constexpr char kStandardInput[] = "-";

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

/// Returns an adapter at 0.0.0.0, for which the plug-in starts no endpoint. Its name is the number,
/// so that a new number changes the document even if the other adapters are as before.
Adapter MakeCounter(int number)
{
    Adapter counter{};
    counter.name = Compose(number);
    counter.ipAddress = kUnservedAddress;
    counter.macAddress = "-"; // the plug-in leaves out an adapter without a MAC address
    counter.connected = true;
    return counter;
}

} // namespace

std::string MakeServerDocument(int port, const std::vector<Adapter>& adapters)
{
    tinyxml2::XMLDocument document;
    XMLElement* root = document.NewElement(kRootElement);
    document.InsertEndChild(root);
    root->SetAttribute(kDeltaAttribute, 0);
    XMLElement* server =
        root->InsertNewChildElement(kServersElement)->InsertNewChildElement(kServerElement);
    server->SetAttribute(kPortAttribute, port);
    XMLElement* network = server->InsertNewChildElement(kNetworkElement);
    for (const Adapter& each : adapters) {
        XMLElement* adapter = network->InsertNewChildElement(kAdapterElement);
        adapter->SetAttribute(kMacAddressAttribute, each.macAddress.c_str());
        adapter->SetAttribute(kHandleAttribute, each.name.c_str());
        adapter->SetAttribute(kIpAddressAttribute, each.ipAddress.c_str());
        adapter->SetAttribute(kConnectedAttribute, each.connected ? 1 : 0);
    }
    return PrintDocument(document);
}

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
    // The two lists of adapters do not show a device that was deleted and is back with its name and
    // index, for example from another network namespace.
    if (monitor)
        deleted.merge(monitor->ReadDeleted());
    const std::vector<Adapter> before = std::exchange(adapters, readListed());
    const auto isGone = [&](const Adapter& old) {
        return old.connected &&
               (deleted.count(old.index) > 0 ||
                std::none_of(adapters.begin(), adapters.end(), [&](const Adapter& each) {
                    return each.connected && each.name == old.name && each.index == old.index;
                }));
    };
    if (std::any_of(before.begin(), before.end(), isGone))
        ++goneCount;
    deleted.clear();
}

std::optional<OutgoingDocument> CAdapterSource::Next()
{
    std::vector<Adapter> listed = adapters;
    if (goneCount > 0)
        listed.push_back(MakeCounter(goneCount));
    std::string text = MakeServerDocument(port, listed);
    if (text == handedOverText)
        return std::nullopt;
    handedOverText = text;
    return OutgoingDocument{std::move(text), Summary(port, adapters), std::nullopt};
}

CFileSource::CFileSource(std::string file, bool isElsewhere)
    : name(std::move(file)), elsewhere(isElsewhere)
{
}

void CFileSource::Read()
{
    unsent = ReadDocument(name);
}

std::optional<OutgoingDocument> CFileSource::Next()
{
    if (!unsent)
        return std::nullopt;
    const std::string text = *std::exchange(unsent, std::nullopt);
    std::optional<Devices> devices;
    try {
        if (!elsewhere)
            devices = ReadDevices();
    } catch (const std::runtime_error& error) {
        // Not fatal: the plug-in does not need the comparison.
        Say(Compose("The document is not compared with this machine: ", error.what()));
    }
    return OutgoingDocument{text, Compose(DocumentName(name), ", ", text.size(), " bytes"),
                            CheckDocument(text, devices)};
}

std::string ReadDocument(const std::string& name)
{
    static bool inputRead = false;
    try {
        std::ifstream file;
        if (name != kStandardInput) {
            file.open(name, std::ios::binary);
            if (!file)
                throw std::system_error(errno, std::generic_category());
        } else if (std::exchange(inputRead, true)) {
            throw std::runtime_error("standard input can be read only once");
        }
        std::istream& input = name == kStandardInput ? std::cin : file;
        std::string text{std::istreambuf_iterator<char>(input), {}};
        // Unlike a file's stream, std::cin reports a read error as the end of the input.
        if (name == kStandardInput && std::ferror(stdin))
            throw std::system_error(errno, std::generic_category());
        if (text.size() > std::numeric_limits<std::int32_t>::max())
            throw std::runtime_error(Compose("the document ", name, " is too long"));
        return text;
    } catch (const std::system_error& error) {
        throw std::runtime_error(Compose("cannot read the document ", name, ": ",
                                         error.code().message(),
                                         "; name a file, or - for standard input"));
    }
}

std::string DocumentName(const std::string& name)
{
    return name == kStandardInput ? "standard input" : name;
}

} // namespace kx::tools
