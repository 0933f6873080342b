#include "plugin_library.h"

#include "text.h"

#include <dlfcn.h>
#include <stdexcept>
#include <utility>

namespace kx::tools {
namespace {

constexpr char kPluginFileName[] = "pelorin.so";
constexpr char kOwnExecutable[] = "/proc/self/exe";
constexpr std::chrono::milliseconds kCloseInterval{10};

std::runtime_error LibraryError(const std::string& what)
{
    return std::runtime_error(Compose(what, "; build the plug-in or name another with --plugin"));
}

void* OpenLibrary(const std::filesystem::path& file)
{
    // Absolute: for a name without a slash, dlopen(3) searches the system's folders.
    void* library = dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        throw LibraryError(Compose("cannot load the plug-in: ", dlerror()));
    return library;
}

template <class Function>
Function FindEntry(const CPluginLibrary& plugin, const char* name)
{
    return reinterpret_cast<Function>(plugin.Find(name));
}

} // namespace

void CPluginLibrary::CloseLibrary::operator()(void* handle) const
{
    dlclose(handle);
}

CPluginLibrary::CPluginLibrary(const std::filesystem::path& file)
    : library(OpenLibrary(file)),
      load(FindEntry<PelorinLoad>(*this, PELORIN_LOAD_NAME)),
      open(FindEntry<PelorinOpen>(*this, PELORIN_OPEN_NAME)),
      ioctl(FindEntry<PelorinIoctl>(*this, PELORIN_IOCTL_NAME)),
      close(FindEntry<PelorinClose>(*this, PELORIN_CLOSE_NAME)),
      unload(FindEntry<PelorinUnload>(*this, PELORIN_UNLOAD_NAME))
{
    // Never called here, but a server may refuse a plug-in that lacks one of them.
    for (const char* name : {PELORIN_READ_NAME, PELORIN_WRITE_NAME, PELORIN_SEEK_NAME})
        Find(name);
}

void* CPluginLibrary::Find(const char* name) const
{
    void* symbol = dlsym(library.get(), name);
    if (!symbol)
        throw LibraryError(Compose("the plug-in has no entry point ", name));
    return symbol;
}

std::uint64_t CPluginLibrary::Load(PelorinHostCallback callback) const
{
    const PelorinLoadRequest request{{}, callback};
    PelorinLoadReply reply{};
    load(&request, &reply);
    return reply.moduleId;
}

void CPluginLibrary::Open() const
{
    PelorinOpenReply reply{};
    open(nullptr, &reply);
}

void CPluginLibrary::Run() const
{
    PelorinIoctlRequest request{};
    request.code = PELORIN_RUN;
    PelorinIoctlReply reply{};
    ioctl(&request, &reply);
}

void CPluginLibrary::Apply(const std::string& document) const
{
    PelorinIoctlRequest request{};
    request.code = PELORIN_APPLY;
    request.dataLength = static_cast<std::int32_t>(document.size());
    request.data = document.data();
    PelorinIoctlReply reply{};
    ioctl(&request, &reply);
}

void CPluginLibrary::Close() const
{
    PelorinStatusReply reply{};
    close(nullptr, &reply);
}

void CPluginLibrary::Unload() const
{
    PelorinStatusReply reply{};
    unload(nullptr, &reply);
}

CPluginRun::CPluginRun(const CPluginLibrary& served) : plugin(served)
{
    std::packaged_task<void()> run([&served] { served.Run(); });
    result = run.get_future();
    lent = std::thread(std::move(run));
}

CPluginRun::~CPluginRun()
{
    if (lent.joinable())
        Join();
}

bool CPluginRun::EndsWithin(std::chrono::milliseconds time) const
{
    return result.wait_for(time) == std::future_status::ready;
}

void CPluginRun::Stop()
{
    Join();
    result.get();
}

void CPluginRun::Join()
{
    // Repeats Close, because the run may miss a single one.
    do
        plugin.Close();
    while (!EndsWithin(kCloseInterval));
    lent.join();
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
