#pragma once

#include <cstddef>
#include <cstdint>

/// The host boundary: every record that crosses it, field by field, and the numbers in them. The
/// layout is the host's. A field that only the host understands is named by its offset. Fields
/// called unused are neither read nor written in what the host hands in, and zero in a HostRequest.
namespace kx {

/// The plug-in's identity toward the host.
inline constexpr std::uint64_t kModuleId = 0x4c0000;

/// Commands of a HostRequest.
inline constexpr std::uint64_t kLogCommand = 64;
inline constexpr std::uint64_t kRegisterCommand = 256;

/// Control codes of IOCTL.
inline constexpr std::uint32_t kRunDiscovery = 1;
inline constexpr std::uint32_t kApplyServerDocument = 2;

/// What the plug-in sends to the host.
struct HostRequest {
    std::uint32_t size;       //  0  sizeof(HostRequest)
    std::uint32_t fixed4;     //  4  1
    std::uint32_t dataLength; //  8  bytes at `data`, for a text its NUL included
    std::uint32_t unused12;
    const void* data;      // 16  valid during the callback only
    std::uint64_t sender;  // 24  kModuleId
    std::uint64_t fixed32; // 32  0
    std::uint64_t command; // 40
    std::uint64_t fixed48; // 48  0x1000010
    std::uint8_t unused56[168];
};
static_assert(sizeof(HostRequest) == 224);
static_assert(offsetof(HostRequest, size) == 0);
static_assert(offsetof(HostRequest, fixed4) == 4);
static_assert(offsetof(HostRequest, dataLength) == 8);
static_assert(offsetof(HostRequest, data) == 16);
static_assert(offsetof(HostRequest, sender) == 24);
static_assert(offsetof(HostRequest, fixed32) == 32);
static_assert(offsetof(HostRequest, command) == 40);
static_assert(offsetof(HostRequest, fixed48) == 48);

/// The host's answer to a HostRequest.
struct HostReply {
    std::uint32_t size;   //  0  sizeof(HostReply)
    std::uint32_t fixed4; //  4  1
    std::uint32_t status; //  8  0 before the call; the host's to set
};
static_assert(sizeof(HostReply) == 12);
static_assert(offsetof(HostReply, size) == 0);
static_assert(offsetof(HostReply, fixed4) == 4);
static_assert(offsetof(HostReply, status) == 8);

/// The host's one function. It is called from several threads, at times from two at once; the
/// caller waits for its return.
using HostCallback = void (*)(const HostRequest* request, HostReply* reply);

struct LoadRequest {
    std::uint8_t unused0[16];
    HostCallback callback; // 16
};
static_assert(offsetof(LoadRequest, callback) == 16);
static_assert(sizeof(HostCallback) == 8);

/// The plug-in's descriptor.
struct LoadReply {
    std::uint8_t unused0[8];
    std::uint64_t moduleId; //   8  kModuleId
    std::uint64_t fixed16;  //  16  0
    std::uint64_t fixed24;  //  24  0
    std::uint64_t fixed32;  //  32  0x3000010
    std::uint64_t fixed40;  //  40  0
    std::uint64_t fixed48;  //  48  0
    std::uint64_t fixed56;  //  56  0
    std::uint64_t fixed64;  //  64  0x1000010
    std::uint64_t fixed72;  //  72  0
    std::uint8_t unused80[16];
    std::uint8_t fixed96;  //  96  1
    std::uint8_t fixed97;  //  97  0
    std::uint8_t fixed98;  //  98  0
    std::uint8_t fixed99;  //  99  1
    std::uint8_t fixed100; // 100  0
    std::uint8_t fixed101; // 101  0
    std::uint8_t unused102[2];
    std::uint32_t fixed104; // 104  0
};
static_assert(offsetof(LoadReply, moduleId) == 8);
static_assert(offsetof(LoadReply, fixed16) == 16);
static_assert(offsetof(LoadReply, fixed24) == 24);
static_assert(offsetof(LoadReply, fixed32) == 32);
static_assert(offsetof(LoadReply, fixed40) == 40);
static_assert(offsetof(LoadReply, fixed48) == 48);
static_assert(offsetof(LoadReply, fixed56) == 56);
static_assert(offsetof(LoadReply, fixed64) == 64);
static_assert(offsetof(LoadReply, fixed72) == 72);
static_assert(offsetof(LoadReply, fixed96) == 96);
static_assert(offsetof(LoadReply, fixed97) == 97);
static_assert(offsetof(LoadReply, fixed98) == 98);
static_assert(offsetof(LoadReply, fixed99) == 99);
static_assert(offsetof(LoadReply, fixed100) == 100);
static_assert(offsetof(LoadReply, fixed101) == 101);
static_assert(offsetof(LoadReply, fixed104) == 104);

/// Reply of Open.
struct OpenReply {
    std::uint8_t unused0[8];
    std::uint32_t status;  //  8  0
    std::uint32_t fixed12; // 12  0
};
static_assert(offsetof(OpenReply, status) == 8);
static_assert(offsetof(OpenReply, fixed12) == 12);

/// Reply of Close, Unload and Seek.
struct StatusReply {
    std::uint8_t unused0[8];
    std::uint32_t status; //  8  0
};
static_assert(offsetof(StatusReply, status) == 8);

struct IoctlRequest {
    std::uint8_t unused0[8];
    std::uint32_t code; //  8  kRunDiscovery, kApplyServerDocument
    std::uint8_t unused12[12];
    std::int32_t dataLength; // 24  bytes at `data`; -1: up to its NUL
    std::uint8_t unused28[4];
    const char* data; // 32  the document
};
static_assert(offsetof(IoctlRequest, code) == 8);
static_assert(offsetof(IoctlRequest, dataLength) == 24);
static_assert(offsetof(IoctlRequest, data) == 32);

struct IoctlReply {
    std::uint8_t unused0[12];
    std::uint32_t status; // 12  0
};
static_assert(offsetof(IoctlReply, status) == 12);

/// Request of Read and Write.
struct TransferRequest {
    std::uint8_t unused0[12];
    std::uint8_t flag12; // 12
    std::uint8_t unused13[19];
    std::uint64_t destination; // 32  read by Write alone: the addressed module
};
static_assert(offsetof(TransferRequest, flag12) == 12);
static_assert(offsetof(TransferRequest, destination) == 32);

/// Reply of Read and Write.
struct TransferReply {
    std::uint8_t unused0[24];
    std::uint32_t result; // 24
};
static_assert(offsetof(TransferReply, result) == 24);

} // namespace kx
