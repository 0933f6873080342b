#include "plugin_library.h"

#include "text.h"

#include <dlfcn.h>
#include <stdexcept>

namespace kx::tools {
namespace {

constexpr char kPluginFileName[] = "pelorin.so";
constexpr char kOwnExecutable[] = "/proc/self/exe";

std::runtime_error LibraryError(const std::string& what)
{
    return std::runtime_error(Compose(what, "; build the plug-in or name another with --plugin"));
}

void* OpenLibrary(const std::filesystem::path& file)
{
    // Absolute, since a name without a slash would be looked for in the system's libraries.
    void* library = dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        throw LibraryError(Compose("cannot load the plug-in: ", dlerror()));
    }
    return library;
}

void* FindSymbol(void* library, const char* name)
{
    void* symbol = dlsym(library, name);
    if (!symbol)
        throw LibraryError(Compose("the plug-in has no entry point ", name));
    return symbol;
}

template <class Function>
Function FindEntry(void* library, const char* name)
{
    return reinterpret_cast<Function>(FindSymbol(library, name));
}

} // namespace

void CPluginLibrary::CloseLibrary::operator()(void* handle) const
{
    dlclose(handle);
}

CPluginLibrary::CPluginLibrary(const std::filesystem::path& file)
    : library(OpenLibrary(file)),
      load(FindEntry<decltype(&Load)>(library.get(), "Load")),
      unload(FindEntry<decltype(&Unload)>(library.get(), "Unload")),
      open(FindEntry<decltype(&Open)>(library.get(), "Open")),
      close(FindEntry<decltype(&Close)>(library.get(), "Close")),
      ioctl(FindEntry<decltype(&IOCTL)>(library.get(), "IOCTL"))
{
    // A server refuses a plug-in without these, though this host never calls them.
    for (const char* name : {"Read", "Write", "Seek"})
        FindSymbol(library.get(), name);
}

std::filesystem::path OwnPluginFile()
{
    const auto folder = std::filesystem::read_symlink(kOwnExecutable).parent_path();
    const auto beside = folder / kPluginFileName;
    const auto installed = folder / PELORIN_PLUGIN_FOLDER / kPluginFileName;
    return std::filesystem::exists(beside) || !std::filesystem::exists(installed) ? beside
                                                                                  : installed;
}

} // namespace kx::tools
