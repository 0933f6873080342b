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

/// The bytes of a request or reply record. All are 0xAA at first, to show which of them the plug-in
/// writes. Tests name fields by offset, to detect a wrong offset in pelorin/plugin.h.
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

/// One call of the host's callback. Both records are as the plug-in passed them; `time` is taken
/// after FakeHost::onRecord has returned.
struct HostCall {
    RecordBytes request; ///< the record in the first 224 bytes, 0xAA after it
    RecordBytes reply;   ///< the record in the first 12 bytes, 0xAA after it
    std::string data;    ///< the document that the request points to, with its NUL
    std::chrono::steady_clock::time_point time;
};

/// A host that loads the plug-in and keeps all records that the plug-in sends. Only one may exist
/// at a time: the callback could not tell several hosts apart.
class FakeHost {
public:
    FakeHost();
    /// Stops the run, calls Unload and closes the library.
    ~FakeHost(); // NOLINT(bugprone-exception-escape)
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    /// Calls an entry point on the calling thread. Returns its result.
    std::uint64_t Call(const char* name, RecordBytes& request, RecordBytes& reply) const;
    void Call(const char* name) const;
    void Load() const;

    /// Calls IOCTL code 1 (run) on a separate thread.
    void Lend();
    /// Calls Lend and hands over documents until the run has port 22609 and no adapters and waits
    /// for another document. Then calls Forget.
    void Run();
    void Apply(const std::string& document) const;
    /// Repeats Close until the run has returned; does nothing without a run.
    void Stop();

    std::vector<HostCall> Calls() const;
    /// Deletes the calls kept so far.
    void Forget();
    /// Returns the records kept: log records as "level text", others as they are.
    std::vector<std::string> Log() const;
    /// Returns the times of the records that contain the text.
    std::vector<std::chrono::steady_clock::time_point> Times(const std::string& text) const;
    /// Waits until `count` records contain the text. Returns false if fewer do after `bound`.
    bool WaitFor(const std::string& text, std::size_t count = 1,
                 std::chrono::milliseconds bound = std::chrono::seconds(5)) const;

    /// Called with each record before it is kept, on the thread that sends it. Set it only while
    /// the plug-in sends nothing.
    std::function<void(const std::string&)> onRecord;
    /// The status that the callback writes into each reply. The plug-in has to ignore it.
    std::uint32_t status = 0;

private:
    static void Receive(const PelorinHostRequest* request, PelorinHostReply* reply);

    const kx::tools::CPluginLibrary plugin;
    std::optional<kx::tools::CPluginRun> run;
    mutable std::mutex mutex;
    mutable std::condition_variable arrived;
    std::vector<HostCall> calls;
};

/// Returns a server and adapter document.
///
/// @param adapters  each as "ip handle mac"; all are connected
/// @param port      empty: the document has no port
std::string MakeTestDocument(const std::vector<std::string>& adapters, const std::string& port);
