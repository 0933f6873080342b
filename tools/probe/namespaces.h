#pragma once

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Functions for XML namespaces, which tinyxml2 does not know. A name without a prefix belongs to
/// the default namespace.
///
/// No function fails. Elements passed may be null. Not thread-safe for elements of one document:
/// tinyxml2 decodes its names and texts in place when they are first read.
namespace kx::tools {

/// Returns the first child element with this namespace and local name, or null.
const tinyxml2::XMLElement* FindChild(const tinyxml2::XMLElement* parent, const char* uri,
                                      const char* localName);

/// Returns the next sibling with this namespace and local name, or null.
const tinyxml2::XMLElement* FindNext(const tinyxml2::XMLElement* element, const char* uri,
                                     const char* localName);

/// Returns whether an element has this namespace and local name; false for null.
bool IsElement(const tinyxml2::XMLElement* element, const char* uri, const char* localName);

/// Returns "{uri}name", which unlike "prefix:name" means the same in every message.
std::string ExpandedName(const std::string& uri, const std::string& localName);

/// Returns the expanded name for the name of an element, or for a name in the element's text;
/// unchanged when no namespace is declared for it.
std::string ExpandedName(const tinyxml2::XMLElement* element, const std::string& name);

/// Returns a name without its prefix.
std::string LocalName(const std::string& name);

/// Returns the words of an element's text, split at white space, without comments and child
/// elements.
std::vector<std::string> Words(const tinyxml2::XMLElement* element);

} // namespace kx::tools
