#pragma once

#include "device_list.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace kx::tools {

/// Selects the columns of a table.
struct TableForm {
    bool watching = false; ///< begin each line with the time and the event's name
    bool recorders = true; ///< only recorders are listed: show their MAC addresses
    bool sameType = true;  ///< only devices of one type are listed: leave the types out
    bool wide = false;     ///< show types, scopes and MAC addresses in any case
};

/// Prints each event as a line of a table, with the headings above the first. An unknown value is
/// "-". The address is indented if the list has another path of the device (see CDeviceList).
/// XAddrs are marked with "!" if AdvertisesOtherHost. Below a kChanged event, a line for each list
/// that changed shows the old and the new values.
///
/// Not thread-safe.
class CEventTable {
public:
    /// @param out  must outlive this object; is not flushed
    CEventTable(std::ostream& out, const TableForm& form);

    void Print(const Event& event);

private:
    struct Column;
    static const Column kColumns[];

    void PrintRow(const std::vector<std::string>& row);

    std::ostream& out;
    std::vector<const Column*> columns;
    bool headed = false;
    /// Current width of each column, in columns of the terminal. A wider cell widens it, up to
    /// kMaxColumnWidth.
    std::vector<std::size_t> widths;
};

} // namespace kx::tools
