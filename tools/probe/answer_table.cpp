#include "answer_table.h"

#include "printable.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <iterator>
#include <ostream>
#include <tuple>

namespace kx::tools {
namespace {

/// What is longer is printed whole but moves only its own line's columns: anybody on the network
/// could send an answer that would push all others out of sight.
constexpr std::size_t kWidestColumn = 80;

using Row = std::array<std::string, 6>;

Row MakeRow(const Answer& answer)
{
    const std::chrono::duration<double, std::milli> roundTrip = answer.roundTrip;
    Row row{answer.match.address,
            answer.match.xaddrs,
            answer.match.mac,
            answer.adapter,
            Compose(answer.source),
            Compose(std::fixed, std::setprecision(1), roundTrip.count(), " ms")};
    for (std::string& cell : row)
        cell = cell.empty() ? "-" : Printable(cell);
    return row;
}

} // namespace

void AnswerTable::Add(const Answer& answer)
{
    const auto key = [](const Answer& each) {
        return std::tie(each.match.address, each.adapter, each.source);
    };
    if (std::none_of(answers.begin(), answers.end(),
                     [&](const Answer& each) { return key(each) == key(answer); }))
        answers.push_back(answer);
}

void AnswerTable::Print(std::ostream& out) const
{
    std::vector<Row> rows{{"ADDRESS", "XADDRS", "MAC", "ADAPTER", "SOURCE", "ROUND TRIP"}};
    std::transform(answers.begin(), answers.end(), std::back_inserter(rows), MakeRow);

    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], std::min(row[column].size(), kWidestColumn));
    }
    out << std::left;
    for (const Row& row : rows) {
        for (std::size_t column = 0; column + 1 < row.size(); ++column)
            out << std::setw(static_cast<int>(widths[column])) << row[column] << "  ";
        out << row.back() << '\n';
    }
}

} // namespace kx::tools
