#include "report.h"

#include "advice.h"
#include "printable.h"
#include "terminal.h"
#include "text.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

using Json = nlohmann::ordered_json;

namespace kx::tools {
namespace {

constexpr int kLabelWidth = 11;
constexpr char kIndent[] = "  ";

const char* NameOf(Level level)
{
    constexpr const char* kNames[] = {"ok", "note", "fault"};
    return kNames[static_cast<std::size_t>(level)];
}

const char* ColorOf(Level level)
{
    constexpr const char* kColors[] = {kGreen, kYellow, kRed};
    return kColors[static_cast<std::size_t>(level)];
}

void PrintParagraph(std::ostream& out, const std::string& label, const std::string& text)
{
    const std::size_t indent = sizeof(kIndent) - 1 + kLabelWidth;
    const std::size_t width = std::max<std::size_t>(TerminalWidth(), 2 * indent) - indent;
    out << kIndent << std::left << std::setw(kLabelWidth) << label
        << Wrap(Printable(text), width, indent) << '\n';
}

void PrintBlock(std::ostream& out, const Finding& finding, bool colored)
{
    const Advice& advice = AdviceFor(finding);
    out << (colored ? ColorOf(finding.level) : "") << NameOf(finding.level)
        << (colored ? kDefaultColor : "") << ": " << finding.name
        << (finding.adapter.empty() ? "" : " on " + Printable(finding.adapter)) << '\n';
    PrintParagraph(out, "looked at", FillIn(advice.lookedAt, finding));
    PrintParagraph(out, "seen", finding.seen);
    PrintParagraph(out, "means", FillIn(advice.means, finding));
    if (*advice.remedy)
        PrintParagraph(out, "do", FillIn(advice.remedy, finding));
    for (const char* each : advice.commands) {
        // Not wrapped, so that a command can be copied in one piece.
        out << kIndent << std::setw(kLabelWidth) << "" << Printable(FillIn(each, finding)) << '\n';
    }
}

std::string ToJsonLine(const Finding& finding)
{
    const Json json{{"finding", finding.name},
                    {"level", NameOf(finding.level)},
                    {"adapter", finding.adapter.empty() ? Json() : Json(finding.adapter)},
                    {"evidence", finding.evidence}};
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace

void Print(std::ostream& out, const Findings& findings, ReportForm form)
{
    Findings sorted = findings;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Finding& left, const Finding& right) {
        return left.level < right.level;
    });
    for (const Finding& each : sorted) {
        if (form == ReportForm::kJson) {
            out << ToJsonLine(each) << '\n';
            continue;
        }
        if (&each != &sorted.front())
            out << '\n';
        PrintBlock(out, each, form == ReportForm::kColored);
    }
    out.flush();
}

} // namespace kx::tools
