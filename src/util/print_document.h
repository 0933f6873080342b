#pragma once

#include <tinyxml2.h>

#include <string>

namespace kx {

/// Returns a document as text, with one element per line, indented by four spaces per level. An
/// element's text stays on the line of its tags. The result ends with a line feed.
///
/// Thread-safe as long as the document does not change.
inline std::string PrintDocument(const tinyxml2::XMLDocument& document)
{
    tinyxml2::XMLPrinter printer;
    document.Accept(&printer);
    return printer.CStr();
}

} // namespace kx
