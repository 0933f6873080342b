#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kx {

/// A 128-bit random identifier. FormatGuidText prints the first three fields as integers, so on a
/// little-endian machine the text shows the bytes of each in reverse order.
///
/// Per field: its offset in bytes, and its groups in the text.
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

/// Fills an identifier with 16 random bytes from /dev/urandom (random(4)).
///
/// Deliberate: does not set the version and variant bits of RFC 4122 4.4. They would replace six of
/// the random bits by which clients tell recorders apart.
///
/// @return always 0
///
/// Errors: if /dev/urandom cannot be opened or read, writes one line to standard error (err(3)) and
/// ends the process with exit status 74 (EX_IOERR of sysexits(3)). If it cannot be closed, only
/// writes a line.
/// Thread-safe; every call opens /dev/urandom again.
std::int32_t CoCreateGuid(GUID* guid);

/// Writes the identifier as lowercase hexadecimal digits in groups of 8-4-4-4-12.
///
/// @param buffer    out: 36 characters and a NUL
/// @param capacity  bytes in `buffer`
/// @return false, with nothing written, if `capacity` is less than 37
///
/// Thread-safe.
bool FormatGuidText(const GUID& guid, char* buffer, std::size_t capacity);

/// Creates an identifier with CoCreateGuid and writes its text as FormatGuidText does. Does nothing
/// if `capacity` is less than 37.
///
/// Errors: those of CoCreateGuid. Thread-safe.
void CreateUuidText(char* buffer, std::size_t capacity);

/// Replaces `out` with the text of a new identifier.
///
/// @param out  out: a string of size 37, whose last character is a NUL
///
/// Deliberate: the NUL stays in the string. CreateUuidText writes nothing without space for it, and
/// the callers read the text with c_str().
///
/// Errors: std::bad_alloc, and those of CoCreateGuid. Thread-safe.
void NewUuidString(std::string& out);

} // namespace kx
