#pragma once

#include <pelorin/plugin.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace kx::tools {

/// A loaded plug-in. Each function fills the records for one entry point, whose contract is in
/// pelorin/plugin.h.
///
/// The library is closed with this object: by then all calls into it must have returned.
class CPluginLibrary {
    struct CloseLibrary {
        void operator()(void* handle) const;
    };
    std::unique_ptr<void, CloseLibrary> library; // declared before the entry points, closed last

public:
    /// Loads by dlopen(3).
    ///
    /// Errors: std::runtime_error when the library cannot be loaded or lacks one of the eight entry
    /// points.
    explicit CPluginLibrary(const std::filesystem::path& file);

    /// Calls Load; returns the number of the module.
    std::uint64_t Load(PelorinHostCallback callback) const;
    void Open() const;
    /// Calls IOCTL with PELORIN_RUN: returns when the plug-in was closed.
    void Run() const;
    /// Calls IOCTL with PELORIN_APPLY.
    void Apply(const std::string& document) const;
    void Close() const;
    void Unload() const;

    /// Finds a symbol of the library. Errors: std::runtime_error when there is none.
    void* Find(const char* name) const;

private:
    const PelorinLoad load;
    const PelorinOpen open;
    const PelorinIoctl ioctl;
    const PelorinClose close;
    const PelorinUnload unload;
};

/// A run of the plug-in on a separate thread.
class CPluginRun {
public:
    /// Lends the plug-in a thread. The library outlives this and is loaded.
    explicit CPluginRun(const CPluginLibrary& served);
    CPluginRun(const CPluginRun&) = delete;
    CPluginRun& operator=(const CPluginRun&) = delete;
    /// Stops the run; an exception that it threw is lost.
    ~CPluginRun();

    /// Waits up to this time for the end of the run; returns whether it has ended.
    bool EndsWithin(std::chrono::milliseconds time) const;

    /// Stops the run and waits for its thread. May be called once. Errors: what the run threw.
    void Stop();

private:
    void Join();

    const CPluginLibrary& plugin;
    std::future<void> result;
    std::thread lent;
};

/// Returns the plug-in that belongs to this program: pelorin.so in the folder of the executable,
/// where it is built, or else where it is installed.
///
/// Errors: std::filesystem::filesystem_error when /proc (proc(5)) is not mounted.
std::filesystem::path OwnPluginFile();

} // namespace kx::tools
