#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kx::tools {

/// How bad a finding is, in printing order.
enum class Level { kOk, kNote, kFault };

/// The result of one check.
struct Finding {
    std::string name; ///< one of those in advice.cpp; programs that read the JSON depend on it
    Level level;
    std::string adapter;             ///< network device name; empty if none is concerned
    nlohmann::ordered_json evidence; ///< what was seen, for programs: a JSON object
    std::string seen;                ///< what was seen, for people: a text without a full stop
    std::string variant = {};        ///< selects one advice of that name; empty for the usual one
};

using Findings = std::vector<Finding>;

} // namespace kx::tools
