#pragma once

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Namespaces in XML over a library that knows none: an element is what its prefix is bound to by
/// the nearest declaration around it, whatever the prefix; without one, by the default namespace.
/// None reports errors, elements may be null. Threads: any; the document must not change meanwhile.
namespace kx::tools {

/// First child element with the namespace and local name; null when there is none.
const tinyxml2::XMLElement* FindChild(const tinyxml2::XMLElement* parent, const char* uri,
                                      const char* localName);

/// Next such element among those that follow `element` under the same parent.
const tinyxml2::XMLElement* FindNext(const tinyxml2::XMLElement* element, const char* uri,
                                     const char* localName);

/// Whether an element has the namespace and local name.
bool IsElement(const tinyxml2::XMLElement* element, const char* uri, const char* localName);

/// "{uri}name": a name that means the same in any message.
std::string ExpandedName(const std::string& uri, const std::string& localName);

/// The same for a name as it stands in or on an element; unchanged when its prefix is undeclared.
std::string ExpandedName(const tinyxml2::XMLElement* element, const std::string& name);

/// The element's text, comments inside skipped, as the words that blanks part. All that is read
/// here is URIs and lists of them, in which line breaks and indentation mean nothing.
std::vector<std::string> Words(const tinyxml2::XMLElement* element);

} // namespace kx::tools
