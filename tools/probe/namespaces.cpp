#include "namespaces.h"

#include <iterator>
#include <sstream>

using tinyxml2::XMLElement;
using tinyxml2::XMLNode;
using tinyxml2::XMLText;

namespace kx::tools {
namespace {

/// Returns the URI that a prefix stands for in an element; an empty prefix stands for the default
/// namespace. Null when none is declared.
const char* NamespaceOf(const XMLElement* element, const std::string& prefix)
{
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
    while (element) {
        if (const char* uri = element->Attribute(declaration.c_str()))
            return uri;
        const XMLNode* parent = element->Parent();
        element = parent ? parent->ToElement() : nullptr;
    }
    return nullptr;
}

/// Returns the element itself or the next sibling that has this namespace and local name, or null.
const XMLElement* FirstFrom(const XMLElement* element, const char* uri, const char* localName)
{
    while (element && !IsElement(element, uri, localName))
        element = element->NextSiblingElement();
    return element;
}

} // namespace

bool IsElement(const XMLElement* element, const char* uri, const char* localName)
{
    return element && ExpandedName(element, element->Name()) == ExpandedName(uri, localName);
}

const XMLElement* FindChild(const XMLElement* parent, const char* uri, const char* localName)
{
    return parent ? FirstFrom(parent->FirstChildElement(), uri, localName) : nullptr;
}

const XMLElement* FindNext(const XMLElement* element, const char* uri, const char* localName)
{
    return element ? FirstFrom(element->NextSiblingElement(), uri, localName) : nullptr;
}

std::string ExpandedName(const std::string& uri, const std::string& localName)
{
    return "{" + uri + "}" + localName;
}

std::string ExpandedName(const XMLElement* element, const std::string& name)
{
    const auto colon = name.find(':');
    const bool prefixed = colon != std::string::npos;
    const char* uri = NamespaceOf(element, prefixed ? name.substr(0, colon) : "");
    return uri ? ExpandedName(uri, LocalName(name)) : name;
}

std::string LocalName(const std::string& name)
{
    return name.substr(name.find(':') + 1); // without a prefix: npos + 1 is 0, the whole name
}

std::vector<std::string> Words(const XMLElement* element)
{
    std::string text;
    for (const XMLNode* each = element ? element->FirstChild() : nullptr; each;
         each = each->NextSibling()) {
        if (const XMLText* piece = each->ToText())
            text += piece->Value();
    }
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

} // namespace kx::tools
