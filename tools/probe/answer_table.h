#pragma once

#include "prober.h"

#include <iosfwd>
#include <vector>

namespace kx::tools {

/// The recorders that answered, in the order of their first answers.
class AnswerTable {
public:
    /// Adds an answer, unless the same recorder has already answered on the same adapter from the
    /// same source.
    void Add(const Answer& answer);

    bool Empty() const { return answers.empty(); }

    /// Prints a heading and one line per answer; what was not given shows as "-".
    void Print(std::ostream& out) const;

private:
    std::vector<Answer> answers;
};

} // namespace kx::tools
