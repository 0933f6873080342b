#pragma once

#include "entry_points.h"

#include <filesystem>
#include <memory>

namespace kx::tools {

/// A loaded plug-in: its library and the entry points that this host calls. Looks them up by name,
/// as a server does; of the plug-in's headers it uses the types alone.
///
/// The library goes when this goes: by then all its code must have returned.
class CPluginLibrary {
    struct CloseLibrary {
        void operator()(void* handle) const;
    };
    std::unique_ptr<void, CloseLibrary> library; // before what is found in it

public:
    /// Loads by dlopen(3).
    ///
    /// Errors: std::runtime_error when the library cannot be loaded or lacks one of the eight entry
    /// points.
    explicit CPluginLibrary(const std::filesystem::path& file);

    const decltype(&Load) load;
    const decltype(&Unload) unload;
    const decltype(&Open) open;
    const decltype(&Close) close;
    const decltype(&IOCTL) ioctl;
};

/// The plug-in that goes with this program: pelorin.so in the folder of the executable, where it is
/// built, or else where it is installed.
///
/// Errors: std::filesystem::filesystem_error when /proc (proc(5)) is not there.
std::filesystem::path OwnPluginFile();

} // namespace kx::tools
