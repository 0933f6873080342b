#pragma once

#include "plugin_library.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// A request or reply record as bytes, initially 0xAA, which shows the bytes that the plug-in
/// wrote. Fields are accessed by offset, independently of the header.
struct RecordBytes {
    RecordBytes() { bytes.fill(0xAA); }

    template <class Value>
    RecordBytes& Put(std::size_t offset, Value value)
    {
        std::memcpy(bytes.data() + offset, &value, sizeof(value));
        return *this;
    }
    template <class Value>
    Value Get(std::size_t offset) const
    {
        Value value;
        std::memcpy(&value, bytes.data() + offset, sizeof(value));
        return value;
    }

    alignas(8) std::array<std::uint8_t, 256> bytes;
};

/// One call of the host's callback.
struct HostCall {
    RecordBytes request; ///< its first 224 bytes
    RecordBytes reply;   ///< its first 12 bytes, as they came
    std::string data;    ///< as long as the request says
    std::chrono::steady_clock::time_point time;
};

/// A host that keeps what the plug-in sends. Only one may exist at a time: the callback has no
/// pointer to its owner.
class FakeHost {
public:
    FakeHost();
    ~FakeHost(); // NOLINT(bugprone-exception-escape) ///< stops what runs, unloads and closes the
                 // library
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    /// Calls an entry point by name, from the calling thread.
    std::uint64_t Call(const char* name, RecordBytes& request, RecordBytes& reply) const;
    void Call(const char* name) const;
    void Load() const;

    /// Starts a run on a separate thread.
    void Lend();
    /// Starts a run on a separate thread and returns when it waits for documents.
    void Run();
    void Apply(const std::string& document) const;
    /// Closes until the run has returned.
    void Stop();

    std::vector<HostCall> Calls() const;
    /// Deletes the calls kept so far.
    void Forget();
    /// The log records, as "level text".
    std::vector<std::string> Log() const;
    /// The times of the records that contain the text.
    std::vector<std::chrono::steady_clock::time_point> Times(const std::string& text) const;
    /// Waits until `count` records contain the text; returns false if the time is up first.
    bool WaitFor(const std::string& text, std::size_t count = 1,
                 std::chrono::milliseconds bound = std::chrono::seconds(5)) const;

    /// Called with each record's text, on the plug-in's thread, before it is kept.
    std::function<void(const std::string&)> onRecord;
    /// The status that the host returns.
    std::uint32_t status = 0;

private:
    static void Receive(const PelorinHostRequest* request, PelorinHostReply* reply);

    const kx::tools::CPluginLibrary plugin;
    std::optional<kx::tools::CPluginRun> run;
    mutable std::mutex mutex;
    mutable std::condition_variable arrived;
    std::vector<HostCall> calls;
};

/// Returns a server and adapter document. Adapters are given as "ip handle mac"; an empty port is
/// left out.
std::string MakeTestDocument(const std::vector<std::string>& adapters, const std::string& port);
