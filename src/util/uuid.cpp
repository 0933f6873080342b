#include "uuid.h"

#include <cerrno>
#include <err.h>
#include <fcntl.h>
#include <sys/types.h>
#include <sysexits.h>
#include <unistd.h>

namespace kx {
namespace {

constexpr char kRandomDevice[] = "/dev/urandom";

int OpenRandomDevice()
{
    for (;;) {
        errno = 0;
        // Deliberate: no O_CLOEXEC or other flag. A host's seccomp(2) filter may refuse a call with
        // other flags, and err() below would then end the process.
        const int device = open(kRandomDevice, O_RDONLY);
        if (device >= 0)
            return device;
        if (errno != EINTR)
            err(EX_IOERR, "CoCreateGuid(): open: %s", kRandomDevice);
    }
}

void ReadFully(int device, GUID& guid)
{
    constexpr ssize_t wanted = sizeof(GUID);
    char* const bytes = reinterpret_cast<char*>(&guid);
    ssize_t received = 0;
    while (received < wanted) {
        errno = 0;
        const ssize_t count =
            read(device, bytes + received, static_cast<size_t>(wanted - received));
        if (count > 0)
            received += count;
        else if (count == 0)
            errx(EX_IOERR, "CoCreateGuid(): read: %s: EOF, got %zd of %zd bytes requested",
                 kRandomDevice, received, wanted);
        else if (errno != EINTR)
            err(EX_IOERR, "CoCreateGuid(): read: %s", kRandomDevice);
    }
}

} // namespace

std::int32_t CoCreateGuid(GUID* guid)
{
    // Deliberate: these two calls end the process if they fail. With identifiers that are not
    // random, clients could not tell recorders apart.
    const int device = OpenRandomDevice();
    ReadFully(device, *guid);
    if (close(device) != 0)
        warn("CoCreateGuid(): close: %s", kRandomDevice);
    return 0;
}

bool FormatGuidText(const GUID& guid, char* buffer, std::size_t capacity)
{
    if (capacity < kUuidTextSize)
        return false;

    // Not snprintf(3), which takes ten times as long.
    const auto append = [&buffer](unsigned value, int digits) {
        for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
            *buffer++ = "0123456789abcdef"[value >> shift & 0xfU];
    };
    append(guid.Data1, 8);
    *buffer++ = '-';
    append(guid.Data2, 4);
    *buffer++ = '-';
    append(guid.Data3, 4);
    for (int index = 0; index < 8; ++index) {
        if (index == 0 || index == 2)
            *buffer++ = '-';
        append(guid.Data4[index], 2);
    }
    *buffer = '\0';
    return true;
}

void CreateUuidText(char* buffer, std::size_t capacity)
{
    if (capacity < kUuidTextSize)
        return;
    GUID guid;
    CoCreateGuid(&guid);
    FormatGuidText(guid, buffer, capacity);
}

void NewUuidString(std::string& out)
{
    out.assign(kUuidTextSize, '\0');
    CreateUuidText(out.data(), out.size());
}

} // namespace kx
