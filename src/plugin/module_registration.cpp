#include "module_registration.h"

#include "host_document.h"
#include "send_to_host.h"
#include "text.h"

#include <tinyxml2.h>

namespace kx {
namespace {

constexpr char kModuleName[] = "Pelorin";

std::string ModuleVersion()
{
    return Compose(8, ".", 6, ".", 2, ".", 115651);
}

} // namespace

void SendModuleRegistration()
{
    tinyxml2::XMLDocument document;
    document.InsertEndChild(document.NewDeclaration());
    tinyxml2::XMLElement* root = document.NewElement(kRootElement);
    root->SetAttribute(kDeltaAttribute, 0);
    document.InsertEndChild(root);
    tinyxml2::XMLElement* modules = document.NewElement("Modules");
    root->InsertEndChild(modules);
    tinyxml2::XMLElement* module = document.NewElement("Module");
    module->SetAttribute("Name", kModuleName);
    module->SetAttribute("ID", kModuleId);
    module->SetAttribute("Version", ModuleVersion().c_str());
    modules->InsertEndChild(module);

    SendDocument(kRegisterCommand, document);
}

} // namespace kx
