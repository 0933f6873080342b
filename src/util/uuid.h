#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kx {

/// A 128-bit random identifier. The random bytes fill it in memory order; the text reads the first
/// three fields as native integers.
struct GUID {
    std::uint32_t Data1;   //  0  first group, 8 digits
    std::uint16_t Data2;   //  4  second group, 4 digits
    std::uint16_t Data3;   //  6  third group, 4 digits
    std::uint8_t Data4[8]; //  8  fourth group (2 bytes) and fifth group (6 bytes)
};
static_assert(sizeof(GUID) == 16);
static_assert(offsetof(GUID, Data2) == 4);
static_assert(offsetof(GUID, Data3) == 6);
static_assert(offsetof(GUID, Data4) == 8);

/// Bytes of a UUID text with its terminating NUL.
inline constexpr std::size_t kUuidTextSize = 37;

/// Fills all 16 bytes from /dev/urandom (random(4)).
///
/// @param guid  out: 16 random bytes. Deliberate: the version and variant bits of RFC 4122 4.4 are
///              not set. They would replace six of the random bits that tell recorders apart.
/// @return always 0
///
/// Errors: a device that cannot be opened or read ends the whole process with exit status 74
/// (EX_IOERR of sysexits(3)) and one line on standard error, see err(3). A failed close leaves a
/// warning there and is otherwise ignored.
/// Thread-safe; every call opens the device anew.
std::int32_t CoCreateGuid(GUID* guid);

/// Writes the identifier as lowercase hexadecimal digits in groups of 8-4-4-4-12.
///
/// @param buffer    out: 36 characters and a NUL
/// @param capacity  bytes in `buffer`
/// @return false, with nothing written, when `capacity` is below 37
///
/// Thread-safe.
bool FormatGuidText(const GUID& guid, char* buffer, std::size_t capacity);

/// Writes the text of a new identifier; does nothing when `capacity` is below 37.
///
/// Errors: as CoCreateGuid. Thread-safe.
void CreateUuidText(char* buffer, std::size_t capacity);

/// Replaces `out` with the text of a new identifier.
///
/// @param out  out: 37 characters, the last one a NUL; callers pass c_str() on
///
/// Deliberate: the string includes the NUL. With room for 36 characters only, CreateUuidText writes
/// nothing.
///
/// Errors: as CoCreateGuid. Thread-safe.
void NewUuidString(std::string& out);

} // namespace kx
