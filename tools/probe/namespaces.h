#pragma once

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Namespaces in XML, which the XML library ignores: the nearest declaration around an element
/// binds its prefix; without a prefix the default namespace applies. No errors; elements may be
/// null. Thread-safe as long as the document does not change.
namespace kx::tools {

/// Returns the first child element with the namespace and local name; null when there is none.
const tinyxml2::XMLElement* FindChild(const tinyxml2::XMLElement* parent, const char* uri,
                                      const char* localName);

/// Returns the next sibling with the namespace and local name; null when there is none.
const tinyxml2::XMLElement* FindNext(const tinyxml2::XMLElement* element, const char* uri,
                                     const char* localName);

/// Returns whether an element has the namespace and local name.
bool IsElement(const tinyxml2::XMLElement* element, const char* uri, const char* localName);

/// Returns "{uri}name", a name that means the same in every message.
std::string ExpandedName(const std::string& uri, const std::string& localName);

/// Returns the expanded name for a name as written in an element; the name itself when its prefix
/// is not declared.
std::string ExpandedName(const tinyxml2::XMLElement* element, const std::string& name);

/// Returns a name as written, without its prefix.
std::string LocalName(const std::string& name);

/// Returns the words of an element's text. Comments are left out, and any white space separates:
/// the texts of these messages are URIs and lists of them.
std::vector<std::string> Words(const tinyxml2::XMLElement* element);

} // namespace kx::tools
