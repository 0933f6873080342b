#include "printable.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <locale.h>

namespace kx::tools {
namespace {

/// Makes mbrtowc(3) and wcwidth(3) read UTF-8 in the calling thread while this object exists,
/// whatever the user's locale. On a system without C.UTF-8 they recognise only ASCII.
class CUtf8 {
public:
    CUtf8() : former(uselocale(Locale())) {}
    CUtf8(const CUtf8&) = delete;
    CUtf8& operator=(const CUtf8&) = delete;
    ~CUtf8() { uselocale(former); }

private:
    static locale_t Locale()
    {
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return utf8; // null if it is missing; uselocale(3) then changes nothing
    }

    const locale_t former;
};

/// The first character of a text.
struct Character {
    std::size_t length; ///< in bytes
    int columns;        ///< how many it fills on a terminal; 0 or less: it cannot be printed
};

Character FirstCharacter(const char* text, std::size_t length)
{
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t used = std::mbrtowc(&character, text, length, &state);
    // mbrtowc(3) returns 0 for a NUL, and -1 or -2, huge as a size_t, for an invalid or truncated
    // character.
    if (used == 0 || used > length)
        return {1, 0};
    return {used, wcwidth(character)};
}

} // namespace

std::string Printable(const std::string& text)
{
    const CUtf8 utf8;
    std::string printable;
    for (std::size_t index = 0; index < text.size();) {
        const Character character = FirstCharacter(&text[index], text.size() - index);
        const std::string bytes = text.substr(index, character.length);
        index += character.length;
        if (character.columns > 0) {
            printable += bytes;
            continue;
        }
        for (const char byte : bytes) {
            char escaped[sizeof("\\xhh")];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(byte));
            printable += escaped;
        }
    }
    return printable;
}

std::size_t ColumnCount(const std::string& printable)
{
    const CUtf8 utf8;
    std::size_t columns = 0;
    for (std::size_t index = 0; index < printable.size();) {
        const Character character = FirstCharacter(&printable[index], printable.size() - index);
        index += character.length;
        columns += static_cast<std::size_t>(std::max(character.columns, 0));
    }
    return columns;
}

} // namespace kx::tools
