#pragma once

#include <pelorin/plugin.h>

#include <cstdint>

/// The plug-in's own names for parts of the host interface; the contract is in pelorin/plugin.h.
namespace kx {

using HostRequest = PelorinHostRequest;
using HostReply = PelorinHostReply;
using HostCallback = PelorinHostCallback;

/// The plug-in's identity toward the host.
inline constexpr std::uint64_t kModuleId = PELORIN_MODULE_ID;

/// Commands of a HostRequest.
inline constexpr std::uint64_t kLogCommand = PELORIN_LOG;
inline constexpr std::uint64_t kRegisterCommand = PELORIN_REGISTER;

} // namespace kx
