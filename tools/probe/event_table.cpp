#include "event_table.h"

#include "printable.h"
#include "text.h"
#include "words.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace kx::tools {
namespace {

/// What is longer is printed whole but moves only its own line's columns: anybody on the network
/// could send an answer that would push all others out of sight.
constexpr std::size_t kWidestColumn = 80;

constexpr char kOtherPathIndent[] = "  ";
constexpr char kChangeIndent[] = "              ";

std::string Cell(const std::string& text)
{
    return text.empty() ? "-" : Printable(text);
}

std::string RoundTripText(const Heard& heard)
{
    if (!heard.roundTrip)
        return "";
    const std::chrono::duration<double, std::milli> roundTrip = *heard.roundTrip;
    return Compose(std::fixed, std::setprecision(1), roundTrip.count(), " ms");
}

/// One line for a list that changed, as it was and as it is.
void PrintChange(std::ostream& out, const char* name, const std::vector<std::string>& was,
                 const std::vector<std::string>& is)
{
    if (was != is)
        out << kChangeIndent << name << Cell(Join(was)) << " -> " << Cell(Join(is)) << '\n';
}

} // namespace

CEventTable::CEventTable(std::ostream& stream, bool watch)
    : out(stream),
      watching(watch),
      headings{"ADDRESS", "XADDRS", "MAC", "ADAPTER", "SOURCE", "ROUND TRIP"},
      widths{38, 28, 17, 7, 17, 0} // those of a recorder, with room for an indentation
{
    if (watching) {
        headings.insert(headings.begin(), {"TIME", "EVENT"});
        widths.insert(widths.begin(), {12, 8});
    }
}

void CEventTable::Print(const Event& event)
{
    const Heard& heard = event.heard;
    std::vector<std::string> row{(event.otherPath ? kOtherPathIndent : "") +
                                     Cell(heard.device.address),
                                 Cell(Join(heard.device.xaddrs)),
                                 Cell(MacOf(heard.device)),
                                 Cell(heard.adapter),
                                 Cell(Compose(heard.source)),
                                 Cell(RoundTripText(heard))};
    if (watching)
        row.insert(row.begin(),
                   {TimeText(heard.time, localtime_r, "%H:%M:%S"), NameOf(event.kind)});

    for (std::size_t column = 0; column < row.size(); ++column)
        widths[column] =
            std::max(widths[column], std::min(ColumnCount(row[column]), kWidestColumn));
    if (!headed)
        PrintRow(headings);
    headed = true;
    PrintRow(row);
    if (event.was) {
        PrintChange(out, "XAddrs  ", event.was->xaddrs, heard.device.xaddrs);
        PrintChange(out, "Scopes  ", event.was->scopes, heard.device.scopes);
        PrintChange(out, "Types   ", event.was->types, heard.device.types);
    }
    out << std::flush;
}

void CEventTable::PrintRow(const std::vector<std::string>& row)
{
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
        const std::size_t filled = std::min(ColumnCount(row[column]), widths[column]);
        out << row[column] << std::string(widths[column] - filled, ' ') << "  ";
    }
    out << row.back() << '\n';
}

} // namespace kx::tools
