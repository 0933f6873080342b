#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kx::tools {

/// How bad a finding is, in the order in which findings are printed.
enum class Level { kOk, kNote, kFault };

/// What one check found out.
struct Finding {
    std::string name; ///< as in the table of advice.cpp; other programs depend on it
    Level level;
    std::string adapter;             ///< network device name; empty when it is about none
    nlohmann::ordered_json evidence; ///< an object; what was seen, for programs
    std::string seen;                ///< the same for people, without a full stop
    std::string variant = {};        ///< which advice of that name fits; empty for the usual one
};

using Findings = std::vector<Finding>;

} // namespace kx::tools
