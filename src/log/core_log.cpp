#include "core_log.h"

#include "host_document.h"
#include "send_to_host.h"

#include <tinyxml2.h>

#include <cstdarg>
#include <cstdio>
#include <iostream>

namespace kx::log {
namespace {

/// Maximum bytes of a message with its NUL. A longer message is truncated.
constexpr std::size_t kMessageSize = 512;

__attribute__((format(printf, 2, 3))) void LogPrintf(std::int32_t level, const char* format, ...)
{
    char message[kMessageSize];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);

    if (level == kLogLocal) {
        std::cerr << message << std::endl;
        return;
    }
    tinyxml2::XMLDocument document;
    document.InsertEndChild(document.NewDeclaration());
    tinyxml2::XMLElement* record = document.NewElement(kLogElement);
    record->SetAttribute(kLevelAttribute, level);
    record->SetText(message);
    document.InsertEndChild(record);
    SendDocument(kLogCommand, document);
}

} // namespace

CCoreLog g_coreLog;

void CCoreLog::Log(std::int32_t level, const std::string& text)
{
    // The text is not passed as the format, because it may contain "%".
    LogPrintf(level, "%s", text.c_str());
}

} // namespace kx::log
