#pragma once

#include <tinyxml2.h>

#include <string>

namespace kx {

/// Prints a finished document in the indented form: each element on a line of its own, four blanks
/// a level, text between its tags on the same line, a line feed at the end.
///
/// Threads: any; the document must not change meanwhile.
inline std::string PrintDocument(const tinyxml2::XMLDocument& document)
{
    tinyxml2::XMLPrinter printer;
    document.Accept(&printer);
    return printer.CStr();
}

} // namespace kx
