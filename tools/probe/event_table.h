#pragma once

#include "device_list.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace kx::tools {

/// Selects the columns of a table.
struct TableForm {
    bool watching = false; ///< begin each line with the time and the event's name
    bool recorders = true; ///< only recorders are listed
    bool sameType = true;  ///< only devices of one type are listed
    bool wide = false;     ///< all columns
};

/// Prints each event as a line of a table, below a heading. An unknown value is "-". The address of
/// a device that is known by another path as well is indented. XAddrs with another host than the
/// source are marked, see AdvertisesOtherHost. After a change, a line for each changed list
/// follows.
///
/// Not thread-safe.
class CEventTable {
public:
    /// @param out  not flushed
    CEventTable(std::ostream& out, const TableForm& form);

    void Print(const Event& event);

private:
    struct Column;
    static const Column kColumns[];

    void PrintRow(const std::vector<std::string>& row);

    std::ostream& out;
    std::vector<const Column*> columns;
    bool headed = false;
    /// A column is as wide as its widest cell so far.
    std::vector<std::size_t> widths;
};

} // namespace kx::tools
