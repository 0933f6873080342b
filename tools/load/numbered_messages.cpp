#include "numbered_messages.h"

#include "uuid.h"

#include <charconv>

namespace kx::tools {
namespace {

/// Hexadecimal digits of a message's number: the last group of a UUID has 12.
constexpr std::size_t kDigits = 12;

std::string NewIdentifierStart()
{
    std::string uuid;
    NewUuidString(uuid);
    return "urn:uuid:" + std::string(uuid.c_str(), kUuidTextSize - sizeof('\0') - kDigits);
}

} // namespace

CNumberedMessages::CNumberedMessages(const std::vector<std::string>& texts)
    : identifier(NewIdentifierStart())
{
    const std::string whole = identifier + std::string(kDigits, '0');
    for (const std::string& text : texts) {
        Template& each = templates.emplace_back(Template{text, {}});
        for (std::size_t at = text.find(kIdentifierMark); at != std::string::npos;
             at = each.text.find(kIdentifierMark, at)) {
            each.text.replace(at, sizeof(kIdentifierMark) - sizeof('\0'), whole);
            each.digitsAt.push_back(at + identifier.size());
        }
    }
}

void CNumberedMessages::Write(std::uint64_t number, std::string& message) const
{
    const Template& source = templates[number % templates.size()];
    message = source.text;
    char digits[kDigits];
    for (std::size_t index = kDigits; index > 0; number /= 16)
        digits[--index] = "0123456789abcdef"[number % 16];
    for (const std::size_t at : source.digitsAt)
        message.replace(at, kDigits, digits, kDigits);
}

std::optional<std::uint64_t> CNumberedMessages::NumberIn(std::string_view answer) const
{
    const std::size_t at = answer.find(identifier);
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view digits = answer.substr(at + identifier.size(), kDigits);
    std::uint64_t number = 0;
    const auto end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number, 16);
    return digits.size() == kDigits && read.ptr == end ? std::optional(number) : std::nullopt;
}

} // namespace kx::tools
