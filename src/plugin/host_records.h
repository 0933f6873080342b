#pragma once

#include <pelorin/plugin.h>

#include <cstdint>

/// The plug-in's own names for parts of pelorin/plugin.h.
namespace kx {

using HostRequest = PelorinHostRequest;
using HostReply = PelorinHostReply;
using HostCallback = PelorinHostCallback;

inline constexpr std::uint64_t kModuleId = PELORIN_MODULE_ID;

// Values of HostRequest::command.
inline constexpr std::uint64_t kLogCommand = PELORIN_LOG;
inline constexpr std::uint64_t kRegisterCommand = PELORIN_REGISTER;

} // namespace kx
