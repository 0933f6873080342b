#pragma once

namespace kx {

/// What every document exchanged with the host opens with. Only documents of Delta 0, whole ones,
/// are in use.
inline constexpr char kRootElement[] = "Qorm";
inline constexpr char kDeltaAttribute[] = "Delta";

} // namespace kx
