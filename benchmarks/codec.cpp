// Measures single functions of the plug-in that need no network.

#include "announcement.h"
#include "canned_answer.h"
#include "core_log.h"
#include "discovery_soap.h"
#include "document_source.h"
#include "host_document.h"
#include "recorder_socket.h"
#include "report.h"
#include "send_to_host.h"
#include "server_document.h"
#include "text.h"
#include "uris.h"

#include <benchmark/benchmark.h>

#include <iterator>

using kx::CDiscoverySoap;
using kx::Compose;

namespace {

CDiscoverySoap MakeSoap()
{
    CDiscoverySoap soap;
    soap.types.assign(std::begin(kx::kDeviceTypes), std::end(kx::kDeviceTypes));
    return soap;
}

std::string Probe(const std::string& type)
{
    return Compose(R"(<?xml version="1.1" encoding="UTF-8"?>
<s:Envelope xmlns:s=")",
                   kx::kSoapEnvelopeUri, R"(" xmlns:wsa=")", kx::kAddressingUri, R"(" xmlns:wsd=")",
                   kx::kDiscoveryUri, R"(" xmlns:ktz=")", kx::kVendorDiscoveryUri, R"(">
    <s:Header>
        <wsa:Action>)",
                   kx::kProbeAction, R"(</wsa:Action>
        <wsa:MessageID>urn:uuid:01234567-89ab-cdef-0123-456789abcdef</wsa:MessageID>
        <wsa:To>)",
                   kx::kDiscoveryUrn, R"(</wsa:To>
    </s:Header>
    <s:Body>
        <wsd:Probe>
            <wsd:Types>)",
                   type, R"(</wsd:Types>
        </wsd:Probe>
    </s:Body>
</s:Envelope>
)");
}

std::string DocumentOf(std::int64_t adapterCount)
{
    std::vector<kx::tools::Adapter> adapters;
    for (std::int64_t number = 0; number < adapterCount; ++number) {
        kx::tools::Adapter& adapter = adapters.emplace_back();
        adapter.name = Compose("cam", number);
        adapter.ipAddress = Compose("10.7.", number / 256, ".", number % 256);
        adapter.macAddress = "02:00:00:00:07:01";
        adapter.connected = true;
    }
    return kx::tools::MakeServerDocument(kx::kDefaultServerPort, adapters);
}

void ParseProbe(benchmark::State& state, const std::string& datagram)
{
    const CDiscoverySoap soap = MakeSoap();
    while (state.KeepRunning()) {
        std::string messageId;
        std::string types;
        std::string action;
        benchmark::DoNotOptimize(
            soap.ParseProbe(datagram.data(), datagram.size(), messageId, types, action));
    }
}

/// Measures the check by which the plug-in rejects a Probe for other devices without parsing it.
void MayMatch(benchmark::State& state, const std::string& datagram)
{
    const CDiscoverySoap soap = MakeSoap();
    while (state.KeepRunning())
        benchmark::DoNotOptimize(soap.MayMatch(datagram.data(), datagram.size()));
}

void BuildHello(benchmark::State& state)
{
    const auto description = kx::benchmarks::MakeDescription();
    while (state.KeepRunning()) {
        std::string hello;
        BuildAnnouncement(description, kx::kAnnounceHello, hello);
        benchmark::DoNotOptimize(hello);
    }
}

void BuildProbeMatches(benchmark::State& state)
{
    const CDiscoverySoap soap = MakeSoap();
    const auto description = kx::benchmarks::MakeDescription();
    while (state.KeepRunning()) {
        std::string answer;
        soap.ProbeMatches("urn:uuid:01234567-89ab-cdef-0123-456789abcdef", description, answer);
        benchmark::DoNotOptimize(answer);
    }
}

void MakeIdentifier(benchmark::State& state)
{
    while (state.KeepRunning()) {
        std::string identifier;
        kx::NewUuidString(identifier);
        benchmark::DoNotOptimize(identifier);
    }
}

void SendLogRecord(benchmark::State& state)
{
    kx::SetHostCallback([](const kx::HostRequest*, kx::HostReply*) {});
    while (state.KeepRunning()) {
        kx::log::Report(&kx::log::g_coreLog, kx::log::kLogInfo, "Send ProbeMatch to ",
                        "10.7.0.2:45678");
    }
}

void ReadServerDocument(benchmark::State& state)
{
    const std::string document = DocumentOf(state.range(0));
    kx::PluginContext context;
    while (state.KeepRunning())
        ApplyServerDocument(context, document.data(), static_cast<std::int32_t>(document.size()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK_CAPTURE(ParseProbe, matching_probe, Probe("ktz:NetworkVideoRecorder"));
BENCHMARK_CAPTURE(ParseProbe, foreign_probe, Probe("ktz:Printer"));
BENCHMARK_CAPTURE(ParseProbe, garbage, std::string(kx::kRecorderReadSize, 'x'));
BENCHMARK_CAPTURE(ParseProbe, garbage_in_a_root,
                  "<a>" + std::string(kx::kRecorderReadSize - sizeof("<a>"), 'x'));
BENCHMARK_CAPTURE(MayMatch, foreign_probe, Probe("ktz:Printer"));
BENCHMARK(BuildHello);
BENCHMARK(BuildProbeMatches);
BENCHMARK(MakeIdentifier);
BENCHMARK(SendLogRecord);
BENCHMARK(ReadServerDocument)->Arg(1)->Arg(64)->Arg(1024);

} // namespace

BENCHMARK_MAIN();
