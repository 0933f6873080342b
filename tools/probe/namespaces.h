#pragma once

#include <tinyxml2.h>

#include <string>

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

/// The element's text with blanks collapsed: none at its ends, single ones inside. All that is read
/// here is URIs and lists of them, in which line breaks and indentation mean nothing. Comments
/// inside are skipped.
std::string CollapsedText(const tinyxml2::XMLElement* element);

} // namespace kx::tools
