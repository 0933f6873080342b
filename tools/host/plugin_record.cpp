#include "plugin_record.h"

#include "host_document.h"

#include <tinyxml2.h>

#include <optional>

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

std::optional<PluginRecord> ReadLogRecord(const XMLDocument& document)
{
    const XMLElement* record = document.FirstChildElement(kLogElement);
    int level = 0;
    if (!record || record->QueryIntAttribute(kLevelAttribute, &level) != tinyxml2::XML_SUCCESS)
        return std::nullopt;
    const char* text = record->GetText();
    return LogRecord{level, text ? text : ""};
}

std::optional<PluginRecord> ReadRegistration(const XMLDocument& document)
{
    const auto* module = tinyxml2::XMLConstHandle(document)
                             .FirstChildElement(kRootElement)
                             .FirstChildElement(kModulesElement)
                             .FirstChildElement(kModuleElement)
                             .ToElement();
    if (!module)
        return std::nullopt;
    const char* name = module->Attribute(kNameAttribute);
    const char* identifier = module->Attribute(kIdAttribute);
    const char* version = module->Attribute(kVersionAttribute);
    if (!name || !identifier || !version)
        return std::nullopt;
    return Registration{name, identifier, version};
}

} // namespace

PluginRecord ReadPluginRecord(const PelorinHostRequest& request)
{
    std::string data(static_cast<const char*>(request.data), request.dataLength);
    if (!data.empty() && data.back() == '\0')
        data.pop_back();
    XMLDocument document;
    std::optional<PluginRecord> record;
    if (document.Parse(data.data(), data.size()) == tinyxml2::XML_SUCCESS) {
        if (request.command == PELORIN_LOG)
            record = ReadLogRecord(document);
        else if (request.command == PELORIN_REGISTER)
            record = ReadRegistration(document);
    }
    return record ? *record : UnknownRecord{request.command, data};
}

} // namespace kx::tools
