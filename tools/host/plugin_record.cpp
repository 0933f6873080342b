#include "plugin_record.h"

#include "host_document.h"
#include "i_core_log.h"
#include "text.h"

#include <tinyxml2.h>

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace kx::tools {
namespace {

std::string LevelLabel(int level)
{
    switch (level) {
    case log::kLogLocal:
        return "local";
    case log::kLogInfo:
        return "info";
    case log::kLogWarning:
        return "warning";
    case log::kLogError:
        return "error";
    default:
        return Compose("level ", level);
    }
}

bool ReadLogRecord(const XMLDocument& document, LogEntry& entry)
{
    const XMLElement* record = document.FirstChildElement("log_msg");
    int level = 0;
    if (!record || record->QueryIntAttribute("level", &level) != tinyxml2::XML_SUCCESS)
        return false;
    const char* text = record->GetText();
    entry = {LevelLabel(level), text ? text : ""};
    return true;
}

bool ReadRegistration(const XMLDocument& document, LogEntry& entry)
{
    const auto* module = tinyxml2::XMLConstHandle(document)
                             .FirstChildElement(kRootElement)
                             .FirstChildElement("Modules")
                             .FirstChildElement("Module")
                             .ToElement();
    if (!module)
        return false;
    const char* name = module->Attribute("Name");
    const char* version = module->Attribute("Version");
    const char* identifier = module->Attribute("ID");
    if (!name || !version || !identifier)
        return false;
    entry = {"module", Compose(name, " ", version, ", module ", identifier)};
    return true;
}

} // namespace

LogEntry ReadPluginRecord(const HostRequest& request)
{
    std::string data(static_cast<const char*>(request.data), request.dataLength);
    if (!data.empty() && data.back() == '\0')
        data.pop_back();
    XMLDocument document;
    LogEntry entry;
    if (document.Parse(data.data(), data.size()) == tinyxml2::XML_SUCCESS &&
        ((request.command == kLogCommand && ReadLogRecord(document, entry)) ||
         (request.command == kRegisterCommand && ReadRegistration(document, entry))))
        return entry;
    return {"raw", Compose("command ", request.command, ": ", data)};
}

} // namespace kx::tools
