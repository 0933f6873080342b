#include "host_log.h"

#include "plugin_record.h"
#include "printable.h"
#include "terminal.h"
#include "text.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <mutex>

using Json = nlohmann::ordered_json;

namespace kx::tools {
namespace {

constexpr int kLabelWidth = 7;
/// The first log record of CDiscoveryManager::StopAll, compared as a whole.
constexpr char kStopText[] = "Stopping discovery operations on all interfaces";

LogForm logForm = LogForm::kPlain;
std::mutex printing;
std::atomic<unsigned> stopRecordCount{0};

struct HostStep {
    std::string text;
};

struct TextEntry {
    std::string label;
    std::string text;
    const char* color;
};

TextEntry ToTextEntry(const HostStep& step)
{
    return {"host", step.text, kCyan};
}

TextEntry ToTextEntry(const LogRecord& record)
{
    switch (record.level) {
    case PELORIN_LEVEL_LOCAL:
        return {"local", record.text, kDefaultColor};
    case PELORIN_LEVEL_INFO:
        return {"info", record.text, kDefaultColor};
    case PELORIN_LEVEL_WARNING:
        return {"warning", record.text, kYellow};
    case PELORIN_LEVEL_ERROR:
        return {"error", record.text, kRed};
    default:
        return {Compose("level ", record.level), record.text, kDefaultColor};
    }
}

TextEntry ToTextEntry(const Registration& module)
{
    return {"module", Compose(module.name, " ", module.version, ", module ", module.identifier),
            kCyan};
}

TextEntry ToTextEntry(const UnknownRecord& record)
{
    return {"raw", Compose("command ", record.command, ": ", record.data), kMagenta};
}

Json ToJson(const HostStep& step)
{
    return {{"kind", "host"}, {"text", step.text}};
}

Json ToJson(const LogRecord& record)
{
    return {{"kind", "log"}, {"level", record.level}, {"text", record.text}};
}

Json ToJson(const Registration& module)
{
    return {{"kind", "registration"},
            {"name", module.name},
            {"id", module.identifier},
            {"version", module.version}};
}

Json ToJson(const UnknownRecord& record)
{
    return {{"kind", "raw"}, {"command", record.command}, {"data", record.data}};
}

template <class Entry>
std::string Format(const Entry& entry)
{
    const auto now = std::chrono::system_clock::now();
    if (logForm == LogForm::kJson) {
        Json json{{"time", TimeText(now, gmtime_r, "%Y-%m-%dT%H:%M:%S") + "Z"}};
        json.update(ToJson(entry));
        // `replace`, because dump would otherwise throw at invalid UTF-8 from the network.
        return json.dump(-1, ' ', true, Json::error_handler_t::replace);
    }
    const TextEntry text = ToTextEntry(entry);
    const bool colored = logForm == LogForm::kColored;
    return Compose(TimeText(now, localtime_r, "%H:%M:%S"), " ", colored ? text.color : "",
                   std::left, std::setw(kLabelWidth), text.label, " ", Printable(text.text),
                   colored ? kDefaultColor : "");
}

template <class Entry>
void Print(const Entry& entry)
{
    const std::lock_guard<std::mutex> lock(printing);
    // Under the lock, because Format reads the time: the lines are in the order of their times.
    std::cout << Format(entry) + "\n" << std::flush;
}

} // namespace

void SetLogForm(LogForm form)
{
    logForm = form;
}

void Say(const std::string& text)
{
    Print(HostStep{text});
}

void OnPluginRequest(const PelorinHostRequest* request, PelorinHostReply* /*reply*/)
{
    const PluginRecord record = ReadPluginRecord(*request);
    std::visit([](const auto& each) { Print(each); }, record);
    const auto* logged = std::get_if<LogRecord>(&record);
    if (logged && logged->text == kStopText)
        ++stopRecordCount;
}

unsigned StopRecordCount()
{
    return stopRecordCount;
}

} // namespace kx::tools
