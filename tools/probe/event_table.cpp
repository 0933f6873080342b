#include "event_table.h"

#include "join.h"
#include "printable.h"
#include "text.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace kx::tools {
namespace {

/// Maximum width of a column; a longer cell is printed whole. Without it, one long answer, which
/// any machine can send, would make all later lines too wide.
constexpr std::size_t kMaxColumnWidth = 80;

constexpr char kOtherPathIndent[] = "  ";
constexpr char kChangeIndent[] = "              ";
constexpr char kOtherHostMark[] = " !";

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

std::string ShortTypeNames(const std::vector<std::string>& types)
{
    std::vector<std::string> names;
    for (const std::string& each : types)
        names.push_back(ShortTypeName(each));
    return Join(names);
}

void PrintChange(std::ostream& out, const char* name, const std::string& was, const std::string& is)
{
    if (was != is)
        out << kChangeIndent << name << Cell(was) << " -> " << Cell(is) << '\n';
}

} // namespace

struct CEventTable::Column {
    const char* heading;
    std::size_t width; ///< initial width: room for a common cell, with its indentation or mark
    bool (*isShown)(const TableForm& form);
    std::string (*cell)(const Event& event);
};

const CEventTable::Column CEventTable::kColumns[] = {
    {"TIME", 12, [](const TableForm& form) { return form.watching; },
     [](const Event& event) { return TimeText(event.heard.time, localtime_r, "%H:%M:%S"); }},
    {"EVENT", 8, [](const TableForm& form) { return form.watching; },
     [](const Event& event) { return std::string(NameOf(event.kind)); }},
    {"ADDRESS", 38, [](const TableForm&) { return true; },
     [](const Event& event) {
         return (event.otherPath ? kOtherPathIndent : "") + Cell(event.heard.device.address);
     }},
    {"TYPES", 12, [](const TableForm& form) { return form.wide || !form.sameType; },
     [](const Event& event) { return Cell(ShortTypeNames(event.heard.device.types)); }},
    {"XADDRS", 28, [](const TableForm&) { return true; },
     [](const Event& event) {
         const Heard& heard = event.heard;
         return Cell(Join(heard.device.xaddrs)) +
                (AdvertisesOtherHost(heard.device, heard.source.address()) ? kOtherHostMark : "");
     }},
    {"SCOPES", 21, [](const TableForm& form) { return form.wide; },
     [](const Event& event) { return Cell(Join(event.heard.device.scopes)); }},
    {"MAC", 17, [](const TableForm& form) { return form.wide || form.recorders; },
     [](const Event& event) { return Cell(MacOf(event.heard.device)); }},
    {"ADAPTER", 7, [](const TableForm&) { return true; },
     [](const Event& event) { return Cell(event.heard.adapter); }},
    {"SOURCE", 17, [](const TableForm&) { return true; },
     [](const Event& event) { return Cell(Compose(event.heard.source)); }},
    {"ROUND TRIP", 0, [](const TableForm&) { return true; },
     [](const Event& event) { return Cell(RoundTripText(event.heard)); }},
};

CEventTable::CEventTable(std::ostream& stream, const TableForm& form) : out(stream)
{
    for (const Column& each : kColumns) {
        if (!each.isShown(form))
            continue;
        columns.push_back(&each);
        widths.push_back(each.width);
    }
}

void CEventTable::Print(const Event& event)
{
    std::vector<std::string> row;
    for (std::size_t index = 0; index < columns.size(); ++index) {
        row.push_back(columns[index]->cell(event));
        widths[index] = std::max(widths[index], std::min(ColumnCount(row[index]), kMaxColumnWidth));
    }
    if (!headed) {
        std::vector<std::string> headings;
        for (const Column* each : columns)
            headings.emplace_back(each->heading);
        PrintRow(headings);
    }
    headed = true;
    PrintRow(row);
    if (event.was) {
        const Device& was = *event.was;
        const Device& is = event.heard.device;
        PrintChange(out, "XAddrs  ", Join(was.xaddrs), Join(is.xaddrs));
        PrintChange(out, "Scopes  ", Join(was.scopes), Join(is.scopes));
        PrintChange(out, "Types   ", ShortTypeNames(was.types), ShortTypeNames(is.types));
    }
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
