#pragma once

#include "adapter_record.h"

#include <tinyxml2.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace kx {

/// What a server and adapter document says.
struct ServerSettings {
    std::optional<std::int32_t> port;    ///< as read, without a range check; none: the port stays
    std::vector<AdapterRecord> adapters; ///< connected and complete ones, in the document's order
};

/// Reads a server and adapter document.
///
/// @param text    the document; a NUL at its end is not needed
/// @param length  bytes at `text`; -1: up to the first NUL
/// @return nothing if the document is malformed or incomplete, if its Delta is not 0, or if
///         `length` is another negative number
///
/// An adapter that is not connected or not complete is left out. Thread-safe.
std::optional<ServerSettings> ReadServerDocument(const char* text, std::int32_t length);

// The steps of ReadServerDocument, for tools that explain its result.

/// Parses the text; false if it is not well-formed, and `document` then holds the reason.
bool ParseServerDocument(tinyxml2::XMLDocument& document, const char* text, std::int32_t length);

/// The elements on the way to the adapters. Each is null if it or one before it is missing.
struct ServerElements {
    const tinyxml2::XMLElement* root;
    const tinyxml2::XMLElement* servers; ///< also null unless the root's Delta is 0
    const tinyxml2::XMLElement* server;
    const tinyxml2::XMLElement* network;
};

ServerElements FindServerElements(const tinyxml2::XMLDocument& document);

/// Reads an integer attribute as a "%d" scan does; `value` is untouched when it is missing or not a
/// number.
bool ReadInteger(const tinyxml2::XMLElement& element, const char* name, std::int32_t& value);

/// Reads an Adapter element; returns the name of the attribute that excludes it, or nullptr if the
/// adapter is used.
const char* ReadAdapter(const tinyxml2::XMLElement& element, AdapterRecord& adapter);

} // namespace kx
