#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kx {

/// A 128-bit identifier as raw random bytes in memory order; the first three fields are read as
/// native integers when the text is made.
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

/// Characters of a UUID text, its terminating NUL included.
inline constexpr std::size_t kUuidTextSize = 37;

/// Fills all 16 bytes from /dev/urandom (random(4)).
///
/// @param guid  out: 16 random bytes. Deliberate: no version or variant bits are forced (compare
///              RFC 4122 4.4); all 128 bits are random.
/// @return 0, always
///
/// Errors: a device that cannot be opened or read ends the whole process with exit status 74
/// (EX_IOERR of sysexits(3)) and one line on standard error, see err(3); a failed close is warned
/// of there and otherwise ignored.
/// Threads: any; nothing is shared, the device is opened anew by every call.
std::int32_t CoCreateGuid(GUID* guid);

/// Writes the identifier as 36 characters in groups of 8-4-4-4-12 lowercase hexadecimal digits.
///
/// @param buffer    out: the text and its NUL
/// @param capacity  bytes in `buffer`
/// @return false, with nothing written, when `capacity` is below 37
///
/// Threads: any.
bool FormatGuidText(const GUID& guid, char* buffer, std::size_t capacity);

/// Writes the text of a fresh identifier; does nothing when `capacity` is 36 or less.
///
/// Errors: as CoCreateGuid.
/// Threads: any.
void CreateUuidText(char* buffer, std::size_t capacity);

/// Replaces `out` by the text of a fresh identifier.
///
/// @param out  out: 37 characters. Deliberate: the NUL behind the 36 characters belongs to the
///             string; use its c_str() where the bare text is wanted.
///
/// Errors: as CoCreateGuid.
/// Threads: any.
void NewUuidString(std::string& out);

} // namespace kx
