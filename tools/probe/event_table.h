#pragma once

#include "device_list.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace kx::tools {

/// Prints events as the lines of a table that grows as they come, below a heading; what is not
/// known shows as "-". The address of a device that is known by another path as well is indented.
/// A change is followed by a line for each list that changed.
///
/// Threads: one.
class CEventTable {
public:
    /// @param watching  begin each line with the time and the event's name
    CEventTable(std::ostream& out, bool watching);

    void Print(const Event& event);

private:
    void PrintRow(const std::vector<std::string>& row);

    std::ostream& out;
    const bool watching;
    bool headed = false;
    std::vector<std::string> headings;
    /// A column is as wide as the widest cell so far: devices of a kind have cells of a length.
    std::vector<std::size_t> widths;
};

} // namespace kx::tools
