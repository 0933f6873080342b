/// The interface between a host, the recorder's server, and the plug-in pelorin.so.
///
/// C99; C++ reads it too. It needs nothing but the C library's headers, and there is nothing to
/// link: a host loads the plug-in by dlopen(3) and looks its entry points up by dlsym(3).
/// examples/host.c is a complete host; docs/host-interface.md explains what to take care of.
///
/// The order of calls:
///
///     Load           stores the host's callback
///     Open           the plug-in registers through the callback
///     IOCTL, run     on a thread of its own, which it keeps until Close
///     IOCTL, apply   the server's port and adapters: now, repeatedly, and after each change
///     Close          repeated until the run has returned
///     Unload         last; then dlclose(3)
///
/// Compatibility. A host may rely on the eight names, on the layouts and values below, on the
/// documents below, and on the messages that the plug-in sends over the network. It may not rely on
/// the order of records from different threads, nor on the texts of log records; their levels keep
/// their meaning. Only the attribute Version of the registration document tells versions apart.
///
/// Threads. Each function carries one of these tags:
///
///     [any-thread]   Any thread of the host, concurrently with other calls.
///     [lent-thread]  The thread that calls IOCTL with PELORIN_RUN. It is the plug-in's until that
///                    call returns.
///     [io-thread]    A thread that the plug-in creates inside that call and joins before the call
///                    returns.
///     [alone]        Any thread, while no other call into the plug-in is running.
///
/// Exceptions. C++ exceptions may leave Load, Open and IOCTL when the process runs out of memory or
/// threads; a host in C then ends. A host in C++ catches `const std::exception&` and calls what()
/// only, before dlclose(3). It does not catch Boost's classes: its own Boost may define them
/// differently.
/// Running out of memory on the I/O thread, or while a run stops after Close, ends the process.
///
/// Exit. If /dev/urandom cannot be opened or read, a run ends the process by exit(3) with status 74
/// (EX_IOERR of sysexits(3)).
#ifndef PELORIN_PLUGIN_H
#define PELORIN_PLUGIN_H

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ != 8
#error "The plug-in is for 64-bit programs only: the host's records hold 64-bit pointers."
#else

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__cplusplus) && __cplusplus >= 201103L
#define PELORIN_ASSERT(condition) static_assert(condition, #condition)
#elif !defined(__cplusplus) && defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define PELORIN_ASSERT(condition) _Static_assert(condition, #condition)
#else
#define PELORIN_ASSERT(condition) extern char pelorin_assert[(condition) ? 1 : -1]
#endif
#define PELORIN_ASSERT_OFFSET(record, field, offset)                                               \
    PELORIN_ASSERT(offsetof(record, field) == (offset))

/// The plug-in's number: in the descriptor, in every HostRequest, in the registration document, and
/// the destination that Write accepts.
#define PELORIN_MODULE_ID UINT64_C(0x4c0000)

/// Control codes of IOCTL.
#define PELORIN_RUN UINT32_C(1)        ///< discovery, on this thread until Close
#define PELORIN_APPLY UINT32_C(2)      ///< a server and adapter document

/// Commands of a HostRequest.
#define PELORIN_LOG UINT64_C(64)       ///< a log record
#define PELORIN_REGISTER UINT64_C(256) ///< the registration document

/// Levels of log records. A host must accept any other number too.
#define PELORIN_LEVEL_LOCAL 0          ///< standard error of the process; never reaches the host
#define PELORIN_LEVEL_INFO 25          ///< progress
#define PELORIN_LEVEL_WARNING 50       ///< a failure that is tolerated
#define PELORIN_LEVEL_ERROR 75         ///< a failure

// The documents are XML, in UTF-8.
//
// Registration, sent by Open:
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <Qorm Delta="0">
//         <Modules>
//             <Module Name="Pelorin" ID="4980736" Version="8.6.2.115651"/>
//         </Modules>
//     </Qorm>
//
// Server and adapter document, handed to IOCTL with PELORIN_APPLY. It replaces the port and the
// whole list of adapters. Handle is the name of the network device. Discovery does not run on an
// adapter at 0.0.0.0, but a change of its attributes restarts discovery on all adapters. That is
// what the second adapter here is for: its Handle is the interface index of eth0, which changes
// when eth0 is deleted and created again.
//
//     <Qorm Delta="0">
//         <Servers>
//             <Server Port="22609">
//                 <Network>
//                     <Adapter MACAddress="02:00:00:00:00:05" Handle="eth0" IPAddress="10.0.0.5"
//                              Connected="1"/>
//                     <Adapter MACAddress="-" Handle="2" IPAddress="0.0.0.0" Connected="1"/>
//                 </Network>
//             </Server>
//         </Servers>
//     </Qorm>
//
// Log record. The level is one of the above; the text is at most 511 bytes long before escaping. It
// can contain bytes received from the network: invalid UTF-8, and control characters, which a
// strict XML parser refuses.
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <log_msg level="25">Restarting discovery on interface 10.0.0.5</log_msg>

// Records. The number behind a field is its offset in bytes. A field whose meaning only the host
// knows is named by its offset. The plug-in neither reads nor writes the unused fields of the
// host's records; in a HostRequest they are zero. A record ends here with the last field that the
// plug-in uses; the host's record may be longer.

/// What the plug-in passes to the callback.
typedef struct PelorinHostRequest {
    uint32_t size;       //  0  224
    uint32_t fixed4;     //  4  1
    uint32_t dataLength; //  8  bytes at `data`, of a text its NUL included
    uint32_t unused12;
    const void* data; // 16  valid during the callback only
    uint64_t sender;  // 24  PELORIN_MODULE_ID
    uint64_t fixed32; // 32  0
    uint64_t command; // 40  PELORIN_LOG, PELORIN_REGISTER
    uint64_t fixed48; // 48  0x1000010
    uint8_t unused56[168];
} PelorinHostRequest;
PELORIN_ASSERT(sizeof(PelorinHostRequest) == 224);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, size, 0);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, fixed4, 4);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, dataLength, 8);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, data, 16);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, sender, 24);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, fixed32, 32);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, command, 40);
PELORIN_ASSERT_OFFSET(PelorinHostRequest, fixed48, 48);

/// The host's answer to a HostRequest.
typedef struct PelorinHostReply {
    uint32_t size;   //  0  12
    uint32_t fixed4; //  4  1
    uint32_t status; //  8  0; the host may set it, and the plug-in ignores it
} PelorinHostReply;
PELORIN_ASSERT(sizeof(PelorinHostReply) == 12);
PELORIN_ASSERT_OFFSET(PelorinHostReply, size, 0);
PELORIN_ASSERT_OFFSET(PelorinHostReply, fixed4, 4);
PELORIN_ASSERT_OFFSET(PelorinHostReply, status, 8);

/// The host's function that receives the registration and the log records.
///
/// Both records and the data are the plug-in's and valid during the call only. The plug-in waits
/// until the callback returns, and holds no lock of its own meanwhile. The callback must not throw,
/// and may call no entry points but Close and IOCTL with PELORIN_APPLY. While a call on the I/O
/// thread lasts, no Probe is answered on any adapter; while one on the lent thread lasts, the
/// plug-in acts on no document.
///
/// Records of one thread come in order. None of them tells the host that the plug-in has acted on a
/// document.
///
/// [any-thread] the registration, on the thread that calls Open
/// [lent-thread] log records about stopping discovery and starting it for a new document
/// [io-thread] all other log records, such as those of a Bye or of a restart after a failure;
///     concurrently with the lent thread
typedef void (*PelorinHostCallback)(const PelorinHostRequest* request, PelorinHostReply* reply);
PELORIN_ASSERT(sizeof(PelorinHostCallback) == 8);

typedef struct PelorinLoadRequest {
    uint8_t unused0[16];
    PelorinHostCallback callback; // 16
} PelorinLoadRequest;
PELORIN_ASSERT_OFFSET(PelorinLoadRequest, callback, 16);

/// The plug-in's descriptor. The plug-in writes bytes up to 107.
typedef struct PelorinLoadReply {
    uint8_t unused0[8];
    uint64_t moduleId; //   8  PELORIN_MODULE_ID
    uint64_t fixed16;  //  16  0
    uint64_t fixed24;  //  24  0
    uint64_t fixed32;  //  32  0x3000010
    uint64_t fixed40;  //  40  0
    uint64_t fixed48;  //  48  0
    uint64_t fixed56;  //  56  0
    uint64_t fixed64;  //  64  0x1000010
    uint64_t fixed72;  //  72  0
    uint8_t unused80[16];
    uint8_t fixed96;  //  96  1
    uint8_t fixed97;  //  97  0
    uint8_t fixed98;  //  98  0
    uint8_t fixed99;  //  99  1
    uint8_t fixed100; // 100  0
    uint8_t fixed101; // 101  0
    uint8_t unused102[2];
    uint32_t fixed104; // 104  0
} PelorinLoadReply;
PELORIN_ASSERT_OFFSET(PelorinLoadReply, moduleId, 8);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed16, 16);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed24, 24);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed32, 32);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed40, 40);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed48, 48);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed56, 56);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed64, 64);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed72, 72);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed96, 96);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed97, 97);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed98, 98);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed99, 99);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed100, 100);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed101, 101);
PELORIN_ASSERT_OFFSET(PelorinLoadReply, fixed104, 104);

typedef struct PelorinOpenReply {
    uint8_t unused0[8];
    uint32_t status;  //  8  0
    uint32_t fixed12; // 12  0
} PelorinOpenReply;
PELORIN_ASSERT_OFFSET(PelorinOpenReply, status, 8);
PELORIN_ASSERT_OFFSET(PelorinOpenReply, fixed12, 12);

/// Reply of Close, Unload and Seek.
typedef struct PelorinStatusReply {
    uint8_t unused0[8];
    uint32_t status; //  8  0
} PelorinStatusReply;
PELORIN_ASSERT_OFFSET(PelorinStatusReply, status, 8);

typedef struct PelorinIoctlRequest {
    uint8_t unused0[8];
    uint32_t code; //  8  PELORIN_RUN, PELORIN_APPLY
    uint8_t unused12[12];
    int32_t dataLength; // 24  PELORIN_APPLY: bytes at `data`; -1: up to its NUL; less: dropped
    uint8_t unused28[4];
    const char* data; // 32  PELORIN_APPLY: the document
} PelorinIoctlRequest;
PELORIN_ASSERT_OFFSET(PelorinIoctlRequest, code, 8);
PELORIN_ASSERT_OFFSET(PelorinIoctlRequest, dataLength, 24);
PELORIN_ASSERT_OFFSET(PelorinIoctlRequest, data, 32);

typedef struct PelorinIoctlReply {
    uint8_t unused0[12];
    uint32_t status; // 12  0
} PelorinIoctlReply;
PELORIN_ASSERT_OFFSET(PelorinIoctlReply, status, 12);

/// Request of Read and Write.
typedef struct PelorinTransferRequest {
    uint8_t unused0[12];
    uint8_t flag; // 12
    uint8_t unused13[19];
    uint64_t destination; // 32  Write only: the number of the module addressed
} PelorinTransferRequest;
PELORIN_ASSERT_OFFSET(PelorinTransferRequest, flag, 12);
PELORIN_ASSERT_OFFSET(PelorinTransferRequest, destination, 32);

/// Reply of Read and Write.
typedef struct PelorinTransferReply {
    uint8_t unused0[24];
    uint32_t result; // 24
} PelorinTransferReply;
PELORIN_ASSERT_OFFSET(PelorinTransferReply, result, 24);

// Entry points: the type and the symbol of each. All return 0; statuses are in the replies.
//
// Request and reply are the host's memory. The plug-in uses them during the call only and writes no
// more of a reply than the fields named above. A reply must not be null; a request of type void is
// not read and may be null.

/// Stores the callback, fills the descriptor and creates the plug-in's state if there is none. A
/// second Load without Unload keeps the state.
///
/// Waits for nothing. Call it first.
/// Errors: throws boost::thread_resource_error or std::bad_alloc. There is no state then; the
/// callback stays stored.
///
/// [alone], except that a run may be in progress.
typedef uint64_t (*PelorinLoad)(const PelorinLoadRequest* request, PelorinLoadReply* reply);
#define PELORIN_LOAD_NAME "Load"

/// Sends the registration document through the callback, each time.
///
/// Waits for the callback. Requires Load.
/// Errors: throws std::bad_alloc; nothing is sent then.
///
/// [any-thread]
typedef uint64_t (*PelorinOpen)(const void* request, PelorinOpenReply* reply);
#define PELORIN_OPEN_NAME "Open"

/// Runs discovery or applies a document; does nothing with another code. Requires Load.
///
/// PELORIN_RUN runs discovery on the calling thread and returns after Close. Discovery runs once
/// between Load and Unload: after Close, another run sends a few log records and returns. Two runs
/// must not overlap. The stack needs 128 KiB. The I/O thread inherits this thread's signal mask.
/// Until the call returns, nothing in the process may call exit(3): it destroys objects that the
/// run uses.
/// Errors: throws boost::thread_resource_error when the I/O service or its thread cannot be
/// created, and std::bad_alloc. Another run may then be tried; Unload does not return until one has
/// returned without an exception.
///
/// [lent-thread]
///
/// PELORIN_APPLY replaces the port and the adapters by those of a document; of concurrent calls the
/// last one wins. It waits for no callback and no network. The data is the host's and need not
/// outlive the call. A document that cannot be read is dropped silently. The run may miss a
/// document that comes while it is busy or before its first wait, so pass the current one
/// repeatedly; an unchanged one has no effect. May be called before, during and after a run.
/// Errors: throws std::bad_alloc; nothing is replaced then.
///
/// [any-thread]
typedef uint64_t (*PelorinIoctl)(const PelorinIoctlRequest* request, PelorinIoctlReply* reply);
#define PELORIN_IOCTL_NAME "IOCTL"

/// Asks the run to stop. Does not wait for it. The run may miss a single request: repeat it every
/// 10 ms until the run has returned. Without Load it only sets the status.
///
/// [any-thread]
typedef uint64_t (*PelorinClose)(const void* request, PelorinStatusReply* reply);
#define PELORIN_CLOSE_NAME "Close"

/// Frees the state that Load created; the callback stays stored.
///
/// Waits for the end of the run, however long that takes, without asking it to stop. Call it after
/// Close, with the lent thread joined: that thread still executes the plug-in's code for a moment
/// after the wait here has ended. Load may follow. Without Load it only sets the status.
///
/// [alone]
typedef uint64_t (*PelorinUnload)(const void* request, PelorinStatusReply* reply);
#define PELORIN_UNLOAD_NAME "Unload"

/// Sets the result to minus the flag, modulo 2^32. Reads no data.
///
/// [any-thread]
typedef uint64_t (*PelorinRead)(const PelorinTransferRequest* request, PelorinTransferReply* reply);
#define PELORIN_READ_NAME "Read"

/// Sets the result to 0 if the flag is not 0 or the destination is PELORIN_MODULE_ID; otherwise
/// leaves the reply as it is. Ignores the data.
///
/// [any-thread]
typedef uint64_t (*PelorinWrite)(const PelorinTransferRequest* request,
                                 PelorinTransferReply* reply);
#define PELORIN_WRITE_NAME "Write"

/// Does nothing but set the status.
///
/// [any-thread]
typedef uint64_t (*PelorinSeek)(const void* request, PelorinStatusReply* reply);
#define PELORIN_SEEK_NAME "Seek"

#undef PELORIN_ASSERT
#undef PELORIN_ASSERT_OFFSET

#ifdef __cplusplus
}
#endif

#endif // 64-bit
#endif // PELORIN_PLUGIN_H
