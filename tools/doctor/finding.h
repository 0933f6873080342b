#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kx::tools {

/// How bad a finding is, in the order in which findings are printed.
enum class Level { kOk, kNote, kFault };

/// The result of one check.
struct Finding {
    std::string name; ///< as in the table of advice.cpp; other programs depend on it
    Level level;
    std::string adapter;             ///< network device name; empty when it concerns none
    nlohmann::ordered_json evidence; ///< an object; what was seen, for programs
    std::string seen;                ///< the same for people, without a full stop
    std::string variant = {};        ///< selects one advice of that name; empty for the usual one
};

using Findings = std::vector<Finding>;

} // namespace kx::tools
