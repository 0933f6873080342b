#include "process_state.h"

#include "text.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <unistd.h>

namespace kx::tools {
namespace {

std::ptrdiff_t CountEntries(const char* folder)
{
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator(folder), directory_iterator());
}

} // namespace

std::string ProcessState()
{
    long totalPages = 0;
    long residentPages = 0;
    std::ifstream("/proc/self/statm") >> totalPages >> residentPages;
    const struct mallinfo2 heap = mallinfo2();
    // Minus one: the iterator that counts the descriptors has one itself.
    return Compose("heap ", heap.uordblks + heap.hblkhd, ", resident ",
                   residentPages * sysconf(_SC_PAGESIZE), ", descriptors ",
                   CountEntries("/proc/self/fd") - 1, ", threads ", ThreadCount());
}

std::ptrdiff_t ThreadCount()
{
    return CountEntries("/proc/self/task");
}

} // namespace kx::tools
