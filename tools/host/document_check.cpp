#include "document_check.h"

#include "adapter.h"
#include "host_document.h"
#include "server_document_reader.h"
#include "text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <net/if.h>
#include <strings.h>

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

namespace kx::tools {
namespace {

constexpr std::int32_t kMaxPort = 65535;
/// Of a device's name, in bytes. The plug-in truncates a longer handle.
constexpr std::size_t kMaxNameLength = IF_NAMESIZE - 1;

std::string Quoted(const char* text)
{
    return Compose("\"", text, "\"");
}

bool DiffersInCase(const char* text, const char* name)
{
    return strcasecmp(text, name) == 0 && std::strcmp(text, name) != 0;
}

/// Returns the parser's error without the line number, which the finding states already:
/// "XML_ERROR_MISMATCHED_ELEMENT, XMLElement name=Server".
std::string ParserReason(const tinyxml2::XMLDocument& document)
{
    const std::string text = document.ErrorStr();
    const std::string mark = "Line number=";
    const auto line = text.find(mark);
    const auto detail = line == std::string::npos ? line : text.find(": ", line);
    return Compose(document.ErrorName(),
                   detail == std::string::npos ? "" : ", " + text.substr(detail + 2));
}

/// Returns why the kernel does not allow a device of this name; empty if it does. Does not check
/// the length.
std::string HandleFault(const std::string& handle)
{
    if (const auto colon = handle.find(':'); colon != std::string::npos && colon > 0)
        return Compose("is a label of an address; the device is ", handle.substr(0, colon));
    // For the kernel the byte \xa0 is a space, even inside a UTF-8 character.
    if (handle.find_first_of("%/: \t\n\v\f\r\xa0") != std::string::npos || handle == "." ||
        handle == "..")
        return "cannot be the name of a device";
    return "";
}

/// Returns the devices that have this address: "eth1, eth2", or "no device of this machine".
std::string Holders(const Devices& devices, const std::string& address)
{
    std::string list;
    for (const auto& [name, addresses] : devices) {
        if (addresses.count(address) > 0)
            list += (list.empty() ? "" : ", ") + name;
    }
    return list.empty() ? "no device of this machine" : list;
}

/// Returns a text such as "; line 3 has "servers"" if a child element's name differs from `name`
/// only in case; otherwise an empty text.
std::string OtherSpelling(const XMLNode& parent, const char* name)
{
    for (const XMLElement* each = parent.FirstChildElement(); each;
         each = each->NextSiblingElement()) {
        if (DiffersInCase(each->Name(), name))
            return Compose("; line ", each->GetLineNum(), " has ", Quoted(each->Name()));
    }
    return "";
}

/// Returns why an attribute is rejected.
std::string AttributeFault(const XMLElement& element, const char* name, const char* expected)
{
    if (const char* value = element.Attribute(name))
        return *value ? Compose(name, " is ", Quoted(value), ", not ", expected)
                      : Compose(name, " is empty");
    std::string other;
    for (const XMLAttribute* each = element.FirstAttribute(); each; each = each->Next()) {
        if (DiffersInCase(each->Name(), name))
            other = Compose("; it has ", Quoted(each->Name()));
    }
    return Compose(element.Name(), " has no attribute ", name, other);
}

using Kind = DocumentFinding::Kind;
using Verdict = DocumentCheck::Verdict;

class CChecker {
public:
    explicit CChecker(const std::optional<Devices>& machine) : devices(machine) {}

    DocumentCheck Run(const std::string& text)
    {
        tinyxml2::XMLDocument document;
        if (!ParseServerDocument(document, text.data(), static_cast<std::int32_t>(text.size()))) {
            Add(Kind::kDropped, std::max(document.ErrorLineNum(), 1),
                Compose("cannot be read as XML: ", ParserReason(document)));
            return Result(Verdict::kDropped);
        }
        const ServerElements elements = FindServerElements(document);
        if (!elements.network) {
            ExplainDrop(document, elements);
            return Result(Verdict::kDropped);
        }
        NoteOtherText(*elements.root, kDeltaAttribute, 0);
        NoteFurther(*elements.root);
        NoteFurther(*elements.servers);
        NoteFurther(*elements.server);
        CheckPort(*elements.server);
        NoteFurther(*elements.network);
        for (const XMLElement* each = elements.network->FirstChildElement(); each;
             each = each->NextSiblingElement())
            CheckAdapter(*each);
        if (!elements.network->FirstChildElement(kAdapterElement))
            Add(Kind::kNote, elements.network->GetLineNum(),
                Compose(kNetworkElement, " has no element ", kAdapterElement));
        return Result(startedCount > 0 ? Verdict::kUsable : Verdict::kNothingToAdvertise);
    }

private:
    DocumentCheck Result(Verdict verdict)
    {
        std::stable_sort(findings.begin(), findings.end(),
                         [](const DocumentFinding& left, const DocumentFinding& right) {
                             return left.line < right.line;
                         });
        return {verdict, std::move(findings)};
    }

    void Add(Kind kind, int line, std::string text)
    {
        findings.push_back({kind, line, std::move(text)});
    }

    void ExplainDrop(const tinyxml2::XMLDocument& document, const ServerElements& elements)
    {
        if (!elements.root)
            AddMissing(document, "the top level", kRootElement);
        else if (std::int32_t delta = 0;
                 !ReadInteger(*elements.root, kDeltaAttribute, delta) || delta != 0)
            Add(Kind::kDropped, elements.root->GetLineNum(),
                AttributeFault(*elements.root, kDeltaAttribute, "0"));
        else if (!elements.servers)
            AddMissing(*elements.root, kRootElement, kServersElement);
        else if (!elements.server)
            AddMissing(*elements.servers, kServersElement, kServerElement);
        else
            AddMissing(*elements.server, kServerElement, kNetworkElement);
    }

    void AddMissing(const XMLNode& parent, const char* parentName, const char* name)
    {
        Add(Kind::kDropped, std::max(parent.GetLineNum(), 1),
            Compose(parentName, " has no element ", name, OtherSpelling(parent, name)));
    }

    /// Notes later siblings with the name of `first`: the plug-in does not read them.
    void NoteFurther(const XMLElement& first)
    {
        for (const XMLElement* each = first.NextSiblingElement(first.Name()); each;
             each = each->NextSiblingElement(first.Name()))
            Add(Kind::kNote, each->GetLineNum(),
                Compose("not read: only the first ", first.Name(), " counts"));
    }

    void CheckPort(const XMLElement& server)
    {
        const int line = server.GetLineNum();
        std::int32_t port = 0;
        if (!ReadInteger(server, kPortAttribute, port)) {
            Add(Kind::kPort, line,
                Compose(kDefaultServerPort, " unless an earlier document set another: ",
                        AttributeFault(server, kPortAttribute, "a number")));
            return;
        }
        Add(Kind::kPort, line, Compose(port, ", from ", kPortAttribute));
        NoteOtherText(server, kPortAttribute, port);
        if (port < 1 || port > kMaxPort)
            Add(Kind::kNote, line,
                Compose("port ", port, " is not one of 1 to ", kMaxPort,
                        " and is advertised all the same"));
    }

    void NoteOtherText(const XMLElement& element, const char* name, std::int32_t value)
    {
        const char* text = element.Attribute(name);
        if (Compose(value) != text)
            Add(Kind::kNote, element.GetLineNum(),
                Compose(name, " ", Quoted(text), " is read as ", value));
    }

    void CheckAdapter(const XMLElement& element)
    {
        const int line = element.GetLineNum();
        if (DiffersInCase(element.Name(), kAdapterElement))
            Add(Kind::kSkipped, line,
                Compose("element ", Quoted(element.Name()), " is not ", Quoted(kAdapterElement)));
        if (std::strcmp(element.Name(), kAdapterElement) != 0)
            return;
        AdapterRecord adapter;
        if (const char* attribute = ReadAdapter(element, adapter)) {
            Add(Kind::kSkipped, line, AttributeFault(element, attribute, "1"));
            return;
        }
        Add(Kind::kUsed, line,
            Compose(adapter.handle, " (", adapter.ipAddress, "), MAC address ",
                    adapter.macAddress));
        NoteOtherText(element, kConnectedAttribute, 1);
        if (adapter.ipAddress == kUnservedAddress)
            Add(Kind::kNote, line, Compose("not started: IPAddress is ", kUnservedAddress));
        else
            CheckStart(adapter, line);
    }

    /// Notes what may keep the adapter's endpoint from starting, and counts the adapter in
    /// `startedCount` if the endpoint can start. Call this for the adapters in the document's
    /// order: after an invalid address the plug-in starts no further endpoint.
    void CheckStart(const AdapterRecord& adapter, int line)
    {
        const bool bindable = CheckHandle(adapter, line);
        in_addr address{};
        if (stopLine > 0) {
            Add(Kind::kNote, line,
                Compose("not started because of the address in line ", stopLine));
        } else if (inet_pton(AF_INET, adapter.ipAddress.c_str(), &address) != 1) {
            stopLine = line;
            Add(Kind::kNote, line,
                Compose(
                    "IPAddress ", Quoted(adapter.ipAddress.c_str()),
                    " is not an IPv4 address: neither this adapter nor a later one is started"));
        } else {
            startedCount += bindable ? 1 : 0;
            CheckAddress(adapter, line);
        }
    }

    void CheckAddress(const AdapterRecord& adapter, int line)
    {
        if (!devices)
            return;
        const std::string name = adapter.handle.substr(0, adapter.handle.find(':'));
        const auto device = FindDevice(name.substr(0, kMaxNameLength));
        if (device != devices->end() && device->second.count(adapter.ipAddress) > 0)
            return;
        Add(Kind::kNote, line,
            Compose("address ", adapter.ipAddress, " is on ",
                    Holders(*devices, adapter.ipAddress)));
    }

    /// Notes what is wrong with the handle. Returns whether a device of this name can exist, on any
    /// machine.
    bool CheckHandle(const AdapterRecord& adapter, int line)
    {
        const std::string quoted = Quoted(adapter.handle.c_str());
        const std::string fault = HandleFault(adapter.handle);
        if (!fault.empty()) {
            Add(Kind::kNote, line, Compose("Handle ", quoted, " ", fault));
            return false;
        }
        const std::string device = adapter.handle.substr(0, kMaxNameLength);
        if (device != adapter.handle)
            Add(Kind::kNote, line, Compose("Handle ", quoted, " is cut to ", device));
        if (devices && FindDevice(device) == devices->end())
            Add(Kind::kNote, line, Compose("this machine has no device ", device));
        return true;
    }

    /// Finds a device by its name or an alternative name (altname of ip-link(8)): the plug-in can
    /// bind a socket by either.
    Devices::const_iterator FindDevice(const std::string& name) const
    {
        char ownName[IF_NAMESIZE] = "";
        const auto device = devices->find(name);
        if (device != devices->end() || !if_indextoname(if_nametoindex(name.c_str()), ownName))
            return device;
        return devices->find(ownName);
    }

    const std::optional<Devices>& devices;
    std::vector<DocumentFinding> findings;
    int startedCount = 0;
    /// Line of the first adapter with an invalid address; 0: none.
    int stopLine = 0;
};

} // namespace

Devices ReadDevices()
{
    Devices devices;
    for (const Adapter& each : ReadAdapters())
        devices[each.name].insert(each.addresses.begin(), each.addresses.end());
    return devices;
}

DocumentCheck CheckDocument(const std::string& document, const std::optional<Devices>& devices)
{
    return CChecker(devices).Run(document);
}

const char* ToText(Kind kind)
{
    switch (kind) {
    case Kind::kDropped:
        return "dropped";
    case Kind::kPort:
        return "port";
    case Kind::kUsed:
        return "adapter";
    case Kind::kSkipped:
        return "skipped";
    case Kind::kNote:
        return "note";
    }
    return "";
}

const char* ToText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::kUsable:
        return "usable";
    case Verdict::kNothingToAdvertise:
        return "nothing to advertise";
    case Verdict::kDropped:
        return "dropped";
    }
    return "";
}

std::string ToText(const DocumentFinding& finding)
{
    return Compose(finding.line, ": ", ToText(finding.kind), ": ", finding.text);
}

} // namespace kx::tools
