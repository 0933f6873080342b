#pragma once

#include <pelorin/plugin.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace kx::tools {

/// A loaded plug-in. Each of the functions Load to Unload calls one entry point; pelorin/plugin.h
/// states when and on which thread each may be called.
///
/// The destructor closes the library; all calls into it must have returned before.
class CPluginLibrary {
    struct CloseLibrary {
        void operator()(void* handle) const;
    };
    // The first member, because the constructor looks up the entry points in it.
    std::unique_ptr<void, CloseLibrary> library;

public:
    /// Loads the library by dlopen(3) and looks up the entry points.
    ///
    /// Errors: std::runtime_error when the library cannot be loaded or lacks one of the eight entry
    /// points.
    explicit CPluginLibrary(const std::filesystem::path& file);

    /// Returns the plug-in's number, PELORIN_MODULE_ID.
    std::uint64_t Load(PelorinHostCallback callback) const;
    void Open() const;
    /// Calls IOCTL with PELORIN_RUN, which returns after Close.
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

/// A run of the plug-in (IOCTL with PELORIN_RUN) on a separate thread.
class CPluginRun {
public:
    /// Starts the run.
    ///
    /// @param served  outlives this object; its Load has been called
    ///
    /// Errors: std::system_error when the thread cannot be created.
    explicit CPluginRun(const CPluginLibrary& served);
    CPluginRun(const CPluginRun&) = delete;
    CPluginRun& operator=(const CPluginRun&) = delete;
    /// Stops the run if Stop has not been called; ignores an exception that the run threw.
    ~CPluginRun();

    /// Waits at most this time for the run to end. Returns whether it has ended. Do not call it
    /// after Stop.
    bool EndsWithin(std::chrono::milliseconds time) const;

    /// Calls Close until the run ends, and joins its thread. May be called once. Errors: the
    /// exception that the run threw, if any.
    void Stop();

private:
    void Join();

    const CPluginLibrary& plugin;
    std::future<void> result;
    std::thread lent;
};

/// Returns the path of pelorin.so beside the executable, or of the installed one if only that
/// exists.
///
/// Errors: std::filesystem::filesystem_error when /proc (proc(5)) is not mounted.
std::filesystem::path OwnPluginFile();

} // namespace kx::tools
