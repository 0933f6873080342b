#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

/// One case of a table in tests/data, whose first lines explain `expected` and `text`.
struct DataCase {
    std::string name;
    std::string expected;
    std::string text;
};

/// Returns the content of a file in tests/data. Throws std::runtime_error if it cannot be opened.
inline std::string ReadData(const std::string& name)
{
    std::ifstream file(PELORIN_TEST_DATA "/" + name);
    if (!file)
        throw std::runtime_error("cannot read " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Reads a table of cases. A case is a line "== name", one line with the expected result, and the
/// text, which may be empty, up to the next case. The lines above the first case are skipped.
inline std::vector<DataCase> ReadCases(const std::string& name)
{
    const std::string table = "\n" + ReadData(name) + "== ";
    const std::string mark = "\n== ";
    std::vector<DataCase> cases;
    for (std::size_t at = table.find(mark); at + mark.size() < table.size();) {
        const std::size_t begin = at + mark.size();
        const std::size_t expected = table.find('\n', begin) + 1;
        const std::size_t text = table.find('\n', expected) + 1;
        at = table.find(mark, text - 1);
        cases.push_back({table.substr(begin, expected - 1 - begin),
                         table.substr(expected, text - 1 - expected),
                         table.substr(text, at + 1 - text)});
        if (cases.back().text.find("== ") != std::string::npos)
            throw std::runtime_error("a case begins within a line of " + cases.back().name);
    }
    return cases;
}
