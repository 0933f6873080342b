/// The interface between the plug-in pelorin.so and its host, the recorder's server that loads it.
///
/// Valid C99 and C++. There is nothing to link: a host loads the plug-in by dlopen(3) and looks its
/// entry points up by dlsym(3). examples/host.c is a complete host; docs/host-interface.md explains
/// what to take care of.
///
/// The order of calls. "The run" below means the call of IOCTL with PELORIN_RUN.
///
///     Load                   stores the host's callback
///     Open                   registers the plug-in through the callback
///     IOCTL, PELORIN_RUN     runs discovery until Close, so it needs a separate thread
///     IOCTL, PELORIN_APPLY   sets the port and adapters; call it repeatedly and after each change
///     Close                  asks the run to stop; call it repeatedly until the run has returned
///     Unload                 frees the plug-in's state; dlclose(3) may follow
///
/// Compatibility. A host may rely on the names of the entry points, on the layouts, values and
/// documents below, on the meaning of log levels, and on the messages on the network. It may not
/// rely on the texts of log records, nor on the order of records from different threads. Only the
/// attribute Version of the registration document tells versions apart.
///
/// Threads. Each function below names its threads by these tags:
///
///     [any-thread]   Any thread of the host, concurrently with other calls.
///     [lent-thread]  The thread that calls IOCTL with PELORIN_RUN. The host lends it to the
///                    plug-in until that call returns.
///     [io-thread]    A thread that the plug-in creates inside that call and joins before the call
///                    returns.
///     [alone]        Any thread, while no other call into the plug-in is running.
///
/// Exceptions. Load, Open and IOCTL throw C++ exceptions when the process runs out of memory or
/// threads. A host in C cannot catch them, so they end it. A host in C++ catches
/// `const std::exception&`, not Boost's exception classes, which its own version of Boost may
/// define differently. It calls only what(), before dlclose(3) unmaps the code of what().
/// If memory runs out on the I/O thread, or while the run stops after Close, the process ends.
///
/// Exit. If the run cannot open or read /dev/urandom, it ends the process by exit(3) with status 74
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

/// The plug-in's number, in Load's reply, every PelorinHostRequest and the registration document.
#define PELORIN_MODULE_ID UINT64_C(0x4c0000)

/// Control codes of IOCTL.
#define PELORIN_RUN UINT32_C(1)        ///< runs discovery until Close
#define PELORIN_APPLY UINT32_C(2)      ///< sets the port and the adapters

/// Commands of a PelorinHostRequest.
#define PELORIN_LOG UINT64_C(64)       ///< its data is a log record
#define PELORIN_REGISTER UINT64_C(256) ///< its data is the registration document

/// Levels of log records. A host must accept any other number too.
#define PELORIN_LEVEL_LOCAL 0          ///< goes to standard error, never to the callback
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
// Server and adapter document, passed to IOCTL with PELORIN_APPLY. Handle is the name of the
// network device. An adapter counts only if Connected is 1 and its MACAddress, Handle and IPAddress
// are not empty.
//
// An adapter whose IPAddress is 0.0.0.0 is not served, but a change of its entry restarts discovery
// on all adapters. A host needs such an entry, like the second one below: its Handle is the
// interface index of eth0. If eth0 is deleted and created again with the same addresses, only this
// index changes. Without the restart, the plug-in's socket would stay bound to the deleted device
// and receive nothing. MACAddress is "-", because it must not be empty.
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
// Log record, sent by the run. The text has at most 511 bytes before XML characters are escaped. It
// can contain bytes from the network, among them invalid UTF-8 and control characters, which a
// strict XML parser refuses.
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <log_msg level="25">Restarting discovery on interface 10.0.0.5</log_msg>

// Records. The comment of a field gives its offset in bytes, then its value or meaning. A field
// whose meaning only the host knows is named by its offset, such as `fixed4`. Fields named `unused`
// are zero in a PelorinHostRequest; in records that the host passes, the plug-in neither reads nor
// writes them. Those records may be longer than declared here.

/// The request that the plug-in passes to the callback. The plug-in sets all fields.
typedef struct PelorinHostRequest {
    uint32_t size;       //  0  224
    uint32_t fixed4;     //  4  1
    uint32_t dataLength; //  8  bytes at `data`, including the NUL at the end
    uint32_t unused12;
    const void* data; // 16  the document
    uint64_t sender;  // 24  PELORIN_MODULE_ID
    uint64_t fixed32; // 32  0
    uint64_t command; // 40  PELORIN_LOG or PELORIN_REGISTER
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

/// The reply to a PelorinHostRequest. The plug-in sets all fields before it calls the callback.
typedef struct PelorinHostReply {
    uint32_t size;   //  0  12
    uint32_t fixed4; //  4  1
    uint32_t status; //  8  0; the callback may change it; the plug-in ignores it afterwards
} PelorinHostReply;
PELORIN_ASSERT(sizeof(PelorinHostReply) == 12);
PELORIN_ASSERT_OFFSET(PelorinHostReply, size, 0);
PELORIN_ASSERT_OFFSET(PelorinHostReply, fixed4, 4);
PELORIN_ASSERT_OFFSET(PelorinHostReply, status, 8);

/// The host's function that receives the registration and the log records.
///
/// The request, its data and the reply belong to the plug-in and are valid only until the callback
/// returns. The plug-in waits for that and meanwhile holds no lock of its own. The callback must
/// not throw. Of the entry points, it may call only Close and IOCTL with PELORIN_APPLY.
///
/// While the callback runs on the I/O thread, the plug-in answers no Probe on any adapter. While it
/// runs on the lent thread, the plug-in acts on no document.
///
/// Three threads call the callback, possibly concurrently. Log records of one thread come in order.
///
/// [any-thread] the one that calls Open, with the registration document
/// [lent-thread] with log records about stopping discovery, and about starting it for a document
/// [io-thread] with all other log records, such as those of a Bye or of a restart after a failure
typedef void (*PelorinHostCallback)(const PelorinHostRequest* request, PelorinHostReply* reply);
PELORIN_ASSERT(sizeof(PelorinHostCallback) == 8);

typedef struct PelorinLoadRequest {
    uint8_t unused0[16];
    PelorinHostCallback callback; // 16
} PelorinLoadRequest;
PELORIN_ASSERT_OFFSET(PelorinLoadRequest, callback, 16);

/// The plug-in's descriptor, which Load fills. Load writes nothing after the first 108 bytes.
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
    uint32_t code; //  8  PELORIN_RUN or PELORIN_APPLY
    uint8_t unused12[12];
    int32_t dataLength; // 24  of PELORIN_APPLY: bytes at `data`, or -1: `data` ends with a NUL
    uint8_t unused28[4];
    const char* data; // 32  of PELORIN_APPLY: the document
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
    uint8_t flag; // 12  see PelorinRead and PelorinWrite
    uint8_t unused13[19];
    uint64_t destination; // 32  of Write: the number of the module that the request is for
} PelorinTransferRequest;
PELORIN_ASSERT_OFFSET(PelorinTransferRequest, flag, 12);
PELORIN_ASSERT_OFFSET(PelorinTransferRequest, destination, 32);

/// Reply of Read and Write.
typedef struct PelorinTransferReply {
    uint8_t unused0[24];
    uint32_t result; // 24  see PelorinRead and PelorinWrite
} PelorinTransferReply;
PELORIN_ASSERT_OFFSET(PelorinTransferReply, result, 24);

// Entry points: the type and the symbol of each. All return 0; statuses are in the replies.
//
// A request, its data and the reply are the host's memory, which the plug-in uses only until the
// entry point returns. A reply must not be null. A request of type `const void*` is not read and
// may be null.

/// Stores the callback, fills the descriptor and creates the plug-in's state if there is none.
///
/// Waits for nothing. Call it before all others. It may be called again, even during the run, which
/// then continues with the new callback.
/// Errors: throws boost::thread_resource_error or std::bad_alloc if it cannot create the state; the
/// new callback stays stored.
///
/// [alone], except that the run may be in progress.
typedef uint64_t (*PelorinLoad)(const PelorinLoadRequest* request, PelorinLoadReply* reply);
#define PELORIN_LOAD_NAME "Load"

/// Sends the registration document through the callback, at every call.
///
/// Waits until the callback returns. Call Load first.
/// Errors: throws std::bad_alloc; the callback is not called then.
///
/// [any-thread]
typedef uint64_t (*PelorinOpen)(const void* request, PelorinOpenReply* reply);
#define PELORIN_OPEN_NAME "Open"

/// Runs discovery or applies a document; with any other code it only sets the status. Call Load
/// first.
///
/// PELORIN_RUN runs discovery on the calling thread and returns after Close. Discovery runs only
/// once between Load and Unload: after Close, another run only sends a few log records. Two runs
/// must not overlap. The calling thread needs a stack of 128 KiB. The I/O thread inherits its
/// signal mask. Until the run returns, nothing in the process may call exit(3), which destroys
/// objects that the run uses.
///
/// Errors: throws boost::thread_resource_error if it cannot create the I/O service or the I/O
/// thread, and std::bad_alloc. The host may then call it again, and Unload does not return until a
/// run has returned without an exception.
///
/// [lent-thread]
///
/// PELORIN_APPLY replaces all adapters by those of a document, and the port if the document has
/// one. Of concurrent calls the last one wins. It waits neither for the callback nor for the
/// network. A document that cannot be read, or whose length is below -1, is dropped without a log
/// record. May be called before, during and after a run.
///
/// The run acts on a document only if it is waiting for one. A document that comes before its first
/// wait, or while it still acts on an earlier one, is only stored. So pass the current document
/// repeatedly. The run does nothing if the port and the adapters are those that it last acted on.
///
/// Errors: throws std::bad_alloc; nothing is replaced then.
///
/// [any-thread]
typedef uint64_t (*PelorinIoctl)(const PelorinIoctlRequest* request, PelorinIoctlReply* reply);
#define PELORIN_IOCTL_NAME "IOCTL"

/// Asks the run to stop and returns without waiting for it. The run may miss a call of Close, so
/// repeat it every 10 ms until the run has returned. Before Load and after Unload, Close only sets
/// the status.
///
/// [any-thread]
typedef uint64_t (*PelorinClose)(const void* request, PelorinStatusReply* reply);
#define PELORIN_CLOSE_NAME "Close"

/// Frees the state that Load created; the callback stays stored.
///
/// Call Close and join the lent thread before Unload. Unload does not ask a run to stop, but waits
/// for its end without limit. If the lent thread is not joined, it may still execute the plug-in's
/// last instructions when Unload returns, and a dlclose(3) would unmap them. Load may be called
/// again after Unload. If there is no state, Unload only sets the status.
///
/// [alone]
typedef uint64_t (*PelorinUnload)(const void* request, PelorinStatusReply* reply);
#define PELORIN_UNLOAD_NAME "Unload"

/// Sets the reply's `result` to minus the request's `flag`, modulo 2^32. Transfers no data.
///
/// [any-thread]
typedef uint64_t (*PelorinRead)(const PelorinTransferRequest* request, PelorinTransferReply* reply);
#define PELORIN_READ_NAME "Read"

/// Sets the reply's `result` to 0 if the request's `flag` is not 0 or its `destination` is
/// PELORIN_MODULE_ID. Otherwise leaves the reply as it is. Transfers no data.
///
/// [any-thread]
typedef uint64_t (*PelorinWrite)(const PelorinTransferRequest* request,
                                 PelorinTransferReply* reply);
#define PELORIN_WRITE_NAME "Write"

/// Only sets the status.
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
