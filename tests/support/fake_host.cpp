#include "fake_host.h"

#include <algorithm>
#include <dlfcn.h>
#include <future>
#include <regex>
#include <sstream>
#include <stdexcept>

using std::chrono::steady_clock;

namespace {

FakeHost* current = nullptr;

/// A log record as "level text"; a record that is something else as it is.
std::string LogLine(const std::string& record)
{
    std::smatch match;
    const std::regex form("<log_msg level=\"(-?\\d+)\">([^<]*)</log_msg>");
    return std::regex_search(record, match, form) ? match.str(1) + " " + match.str(2) : record;
}

} // namespace

FakeHost::FakeHost() : library(dlopen(PELORIN_LIBRARY, RTLD_NOW | RTLD_LOCAL))
{
    if (!library)
        throw std::runtime_error(dlerror());
    current = this;
}

FakeHost::~FakeHost() // NOLINT(bugprone-exception-escape): a test may end there
{
    Stop();
    Call("Unload");
    dlclose(library);
    current = nullptr;
}

std::uint64_t FakeHost::Call(const char* name, RawRecord& request, RawRecord& reply) const
{
    using Entry = std::uint64_t (*)(const void*, void*);
    const auto entry = reinterpret_cast<Entry>(dlsym(library, name));
    if (!entry)
        throw std::runtime_error(dlerror());
    return entry(request.bytes.data(), reply.bytes.data());
}

void FakeHost::Call(const char* name) const
{
    RawRecord request;
    RawRecord reply;
    Call(name, request, reply);
}

void FakeHost::Load() const
{
    RawRecord request;
    RawRecord reply;
    request.Put(16, &FakeHost::Receive);
    Call("Load", request, reply);
}

void FakeHost::Lend()
{
    lent = std::thread([this] {
        RawRecord request;
        RawRecord reply;
        Call("IOCTL", request.Put(8, std::uint32_t{1}), reply);
    });
}

void FakeHost::Run()
{
    Lend();
    // Nothing tells when the loop waits. A document that changes and changes back is taken in only
    // then: the first record, that of stopping an empty set, shows that it was.
    for (int port = 1; Log().empty(); ++port) {
        Send(ServerDocument({}, std::to_string(port)));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Twice, since the first may find the loop still at work.
    for (int time = 0; time < 2; ++time) {
        Send(ServerDocument({}, "22609"));
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    Forget();
}

void FakeHost::Forget()
{
    const std::lock_guard<std::mutex> lock(mutex);
    calls.clear();
}

void FakeHost::Send(const std::string& document) const
{
    RawRecord request;
    RawRecord reply;
    request.Put(8, std::uint32_t{2});
    request.Put(24, static_cast<std::uint32_t>(document.size()));
    request.Put(32, document.data());
    Call("IOCTL", request, reply);
}

void FakeHost::Stop()
{
    if (!lent.joinable())
        return;
    std::promise<void> joined;
    std::thread joiner([&] {
        lent.join();
        joined.set_value();
    });
    const auto done = joined.get_future();
    do
        Call("Close");
    while (done.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready);
    joiner.join();
}

void FakeHost::Receive(const void* request, void* reply)
{
    HostCall call;
    std::memcpy(call.request.bytes.data(), request, 224);
    std::memcpy(call.reply.bytes.data(), reply, 12);
    call.data.assign(call.request.Get<const char*>(16), call.request.Get<std::uint32_t>(8));
    if (current->onRecord)
        current->onRecord(call.data);
    call.time = steady_clock::now();
    std::memcpy(static_cast<char*>(reply) + 8, &current->status, sizeof(status));
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

std::string ServerDocument(const std::vector<std::string>& adapters, const std::string& port)
{
    std::string text = "<Qorm Delta=\"0\"><Servers><Server Port=\"" + port + "\"><Network>";
    for (const std::string& each : adapters) {
        std::istringstream fields(each);
        std::string ip, handle, mac;
        fields >> ip >> handle >> mac;
        text += "<Adapter MACAddress='" + mac + "' Handle='" + handle + "' IPAddress='" + ip +
                "' Connected='1'/>";
    }
    return text + "</Network></Server></Servers></Qorm>";
}
