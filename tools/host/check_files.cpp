#include "check_files.h"

#include "document_check.h"
#include "document_source.h"
#include "printable.h"
#include "text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <optional>
#include <stdexcept>

using Json = nlohmann::ordered_json;

namespace kx::tools {
namespace {

constexpr int kExitNotUsable = 1;

struct CheckedFile {
    std::string name;
    DocumentCheck check;
};

std::string ToLines(const CheckedFile& file)
{
    std::string lines;
    for (const DocumentFinding& each : file.check.findings)
        lines += Printable(Compose(file.name, ":", ToText(each))) + "\n";
    return lines + Printable(Compose(file.name, ": ", ToText(file.check.verdict))) + "\n";
}

std::string ToJson(const CheckedFile& file)
{
    Json findings = Json::array();
    for (const DocumentFinding& each : file.check.findings)
        findings.push_back({{"line", each.line}, {"kind", ToText(each.kind)}, {"text", each.text}});
    const Json json{{"file", file.name},
                    {"verdict", ToText(file.check.verdict)},
                    {"findings", std::move(findings)}};
    return json.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace

int CheckFiles(const std::vector<std::string>& names, bool elsewhere, bool json)
{
    std::optional<Devices> devices;
    if (!elsewhere)
        devices = ReadDevices();
    std::vector<CheckedFile> files;
    files.reserve(names.size());
    for (const std::string& name : names)
        files.push_back({DocumentName(name), CheckDocument(ReadDocument(name), devices)});

    for (const CheckedFile& each : files)
        std::cout << (json ? ToJson(each) : ToLines(each));
    if (!std::cout.flush())
        throw std::runtime_error("cannot write to standard output");
    const bool usable = std::all_of(files.begin(), files.end(), [](const CheckedFile& each) {
        return each.check.verdict == DocumentCheck::Verdict::kUsable;
    });
    return usable ? 0 : kExitNotUsable;
}

} // namespace kx::tools
