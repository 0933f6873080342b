#include "fake_host.h"

#include "document_source.h"

#include <algorithm>
#include <regex>
#include <sstream>

using std::chrono::steady_clock;

namespace {

FakeHost* current = nullptr;

/// Returns a log record as "level text", and any other record unchanged.
std::string LogLine(const std::string& record)
{
    std::smatch match;
    const std::regex form("<log_msg level=\"(-?\\d+)\">([^<]*)</log_msg>");
    return std::regex_search(record, match, form) ? match.str(1) + " " + match.str(2) : record;
}

} // namespace

FakeHost::FakeHost() : plugin(PELORIN_LIBRARY)
{
    current = this;
}

FakeHost::~FakeHost() // NOLINT(bugprone-exception-escape): an exception may end the test
{
    Stop();
    plugin.Unload();
    current = nullptr;
}

std::uint64_t FakeHost::Call(const char* name, RecordBytes& request, RecordBytes& reply) const
{
    using Entry = std::uint64_t (*)(const void*, void*);
    const auto entry = reinterpret_cast<Entry>(plugin.Find(name));
    return entry(request.bytes.data(), reply.bytes.data());
}

void FakeHost::Call(const char* name) const
{
    RecordBytes request;
    RecordBytes reply;
    Call(name, request, reply);
}

void FakeHost::Load() const
{
    plugin.Load(&FakeHost::Receive);
}

void FakeHost::Lend()
{
    run.emplace(plugin);
}

void FakeHost::Run()
{
    Lend();
    // Only a plug-in that waits for documents notices a changed one. It then logs a stop, even
    // without endpoints. So hand over one port after another until it logs something.
    for (int port = 1; Log().empty(); ++port) {
        Apply(MakeTestDocument({}, std::to_string(port)));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Twice, because the plug-in misses a document while it is busy with an earlier one. A document
    // without adapters keeps it busy for about 10 ms. So after 40 ms it waits again, and all its
    // records have arrived.
    for (int time = 0; time < 2; ++time) {
        Apply(MakeTestDocument({}, "22609"));
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    Forget();
}

void FakeHost::Forget()
{
    const std::lock_guard<std::mutex> lock(mutex);
    calls.clear();
}

void FakeHost::Apply(const std::string& document) const
{
    plugin.Apply(document);
}

void FakeHost::Stop()
{
    if (run)
        run->Stop();
    run.reset();
}

void FakeHost::Receive(const PelorinHostRequest* request, PelorinHostReply* reply)
{
    HostCall call;
    std::memcpy(call.request.bytes.data(), request, sizeof(*request));
    std::memcpy(call.reply.bytes.data(), reply, sizeof(*reply));
    call.data.assign(static_cast<const char*>(request->data), request->dataLength);
    if (current->onRecord)
        current->onRecord(call.data);
    call.time = steady_clock::now();
    reply->status = current->status;
    const std::lock_guard<std::mutex> lock(current->mutex);
    current->calls.push_back(call);
    current->arrived.notify_all();
}

std::vector<HostCall> FakeHost::Calls() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return calls;
}

std::vector<std::string> FakeHost::Log() const
{
    std::vector<std::string> lines;
    for (const HostCall& each : Calls())
        lines.push_back(LogLine(each.data));
    return lines;
}

std::vector<steady_clock::time_point> FakeHost::Times(const std::string& text) const
{
    std::vector<steady_clock::time_point> times;
    for (const HostCall& each : Calls()) {
        if (each.data.find(text) != std::string::npos)
            times.push_back(each.time);
    }
    return times;
}

bool FakeHost::WaitFor(const std::string& text, std::size_t count,
                       std::chrono::milliseconds bound) const
{
    std::unique_lock<std::mutex> lock(mutex);
    return arrived.wait_until(lock, steady_clock::now() + bound, [&] {
        return std::count_if(calls.begin(), calls.end(), [&](const HostCall& each) {
                   return each.data.find(text) != std::string::npos;
               }) >= static_cast<std::ptrdiff_t>(count);
    });
}

std::string MakeTestDocument(const std::vector<std::string>& adapters, const std::string& port)
{
    std::vector<kx::tools::Adapter> list;
    for (const std::string& each : adapters) {
        kx::tools::Adapter adapter{};
        std::istringstream(each) >> adapter.ipAddress >> adapter.name >> adapter.macAddress;
        adapter.connected = true;
        list.push_back(adapter);
    }
    std::string text = kx::tools::MakeServerDocument(port.empty() ? 0 : std::stoi(port), list);
    if (port.empty())
        text = std::regex_replace(text, std::regex(" Port=\"0\""), "");
    return text;
}
