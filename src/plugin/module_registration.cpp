#include "module_registration.h"

#include "host_document.h"
#include "send_to_host.h"

#include <tinyxml2.h>

namespace kx {
namespace {

constexpr char kModuleName[] = "Pelorin";
constexpr char kModuleVersion[] = "8.6.2.115651";

} // namespace

void SendModuleRegistration()
{
    tinyxml2::XMLDocument document;
    document.InsertEndChild(document.NewDeclaration());
    tinyxml2::XMLElement* root = document.NewElement(kRootElement);
    root->SetAttribute(kDeltaAttribute, 0);
    document.InsertEndChild(root);
    tinyxml2::XMLElement* modules = document.NewElement(kModulesElement);
    root->InsertEndChild(modules);
    tinyxml2::XMLElement* module = document.NewElement(kModuleElement);
    module->SetAttribute(kNameAttribute, kModuleName);
    module->SetAttribute(kIdAttribute, kModuleId);
    module->SetAttribute(kVersionAttribute, kModuleVersion);
    modules->InsertEndChild(module);

    SendDocument(kRegisterCommand, document);
}

} // namespace kx
