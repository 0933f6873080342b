#include "discovery_soap.h"
#include "text.h"
#include "uris.h"

#include <algorithm>
#include <cstring>
#include <string_view>

using tinyxml2::XMLAttribute;
using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;
using tinyxml2::XMLText;

namespace kx {
namespace {

constexpr char kNamespaceDeclaration[] = "xmlns:";
constexpr char kProbeName[] = "Probe";

bool StartsWith(const char* text, const char* start)
{
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

const XMLElement* Child(const XMLElement* parent, const std::string& name)
{
    return parent ? parent->FirstChildElement(name.c_str()) : nullptr;
}

/// If the first child of an element is a text, copies it to `out` and returns true. Otherwise, and
/// for null, returns false and leaves `out` unchanged.
///
/// Deliberate: not XMLElement::GetText. Since tinyxml2 8.1, GetText skips comments before the text.
/// A Probe with such a comment would be answered or not depending on the library's version.
bool ReadText(const XMLElement* element, std::string& out)
{
    const XMLNode* first = element ? element->FirstChild() : nullptr;
    const XMLText* text = first ? first->ToText() : nullptr;
    if (!text)
        return false;
    out = text->Value();
    return true;
}

} // namespace

void NamespacePrefixFor(const XMLElement* element, const char* fragment, std::string& prefix)
{
    prefix.clear();
    if (!element || !fragment)
        return;
    for (const XMLAttribute* each = element->FirstAttribute(); each; each = each->Next()) {
        if (!StartsWith(each->Name(), kNamespaceDeclaration) ||
            !StartsWith(each->Value(), kHttpScheme) || !std::strstr(each->Value(), fragment))
            continue;
        prefix = each->Name() + std::strlen(kNamespaceDeclaration);
        if (!prefix.empty())
            prefix += ':';
        return;
    }
}

bool AnyTypeListed(const std::vector<std::string>& types, const std::string& typesText,
                   const std::string& prefix)
{
    for (const std::string& type : types) {
        if (typesText.find(prefix + type) != std::string::npos)
            return true;
    }
    return false;
}

bool CDiscoverySoap::MayMatch(const char* data, std::size_t length) const
{
    const std::string_view text(data, length);
    const auto has = [text](std::string_view part) {
        return text.find(part) != std::string_view::npos;
    };
    // A matching Probe always contains the letters of the element name "Probe", because XML allows
    // no references in names. It contains the letters of a type too, unless a reference such as
    // &#78; stands for one of them. Hence the search for "&".
    return has(kProbeName) && (has("&") || std::any_of(types.begin(), types.end(), has));
}

// Deliberate, in three ways:
// - The Scopes of a Probe are ignored. If they were compared, clients that send scopes would lose
//   their answer.
// - A Probe without Types is not answered. Otherwise recorders would appear in searches for any
//   device, where they have never appeared.
// - A namespace is recognised by a part of its URI, and only if the root element declares a prefix
//   for it. If whole URIs were compared, clients of other versions of the standards would lose
//   their answer. A drawback: the vendor's URI contains "/discovery" too. If the root element
//   declares the vendor's prefix, and that of WS-Discovery later or not at all, Probe and Types are
//   searched under the vendor's prefix. They are not found, so the client gets no answer.
std::int32_t CDiscoverySoap::ParseProbe(const char* data, std::size_t length,
                                        std::string& messageId, std::string& typesText,
                                        std::string& action) const
{
    XMLDocument document;
    if (document.Parse(data, length) != tinyxml2::XML_SUCCESS)
        return 0;
    const XMLElement* envelope = document.FirstChildElement();

    std::string soap;
    std::string discovery;
    std::string addressing;
    std::string vendor;
    NamespacePrefixFor(envelope, kEnvelopeFragment, soap);
    NamespacePrefixFor(envelope, kDiscoveryFragment, discovery);
    NamespacePrefixFor(envelope, kAddressingFragment, addressing);
    NamespacePrefixFor(envelope, kVendorFragment, vendor);

    const XMLElement* header = Child(envelope, soap + "Header");
    if (!ReadText(Child(header, addressing + "Action"), action) || !EndsWith(action, kProbeName))
        return 0;
    if (!ReadText(Child(header, addressing + "MessageID"), messageId))
        return 0;
    const XMLElement* probe = Child(Child(envelope, soap + "Body"), discovery + kProbeName);
    if (!ReadText(Child(probe, discovery + "Types"), typesText))
        return 0;
    return AnyTypeListed(types, typesText, vendor) ? 1 : 0;
}

} // namespace kx
