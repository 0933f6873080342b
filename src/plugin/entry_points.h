#pragma once

#include "host_records.h"

/// The library's eight entry points. All return 0; statuses travel in the replies.
///
/// The host's order: Load; Open; IOCTL code 1 on a thread lent for as long as the plug-in is
/// active; IOCTL code 2 from any other thread whenever the server's port or adapters change; Close;
/// Unload last, with no other entry point entered any more. A host that must be sure of its stop
/// repeats Close until IOCTL code 1 has returned.
///
/// Request and reply are the host's memory, valid during the call; of a reply no more than the
/// fields named in its record is written.
#pragma GCC visibility push(default)
extern "C" {

/// Stores the host's callback, describes the plug-in and makes the context if there is none.
///
/// Errors: boost::thread_resource_error when the context's mutex or condition cannot be made; it
/// leaves through this function and nothing is stored but the callback.
std::uint64_t Load(const kx::LoadRequest* request, kx::LoadReply* reply);

/// Frees the context once the run loop has ended, however long that takes; the callback is kept.
/// Does not ask the loop to stop: that is what Close is for.
std::uint64_t Unload(const void* request, kx::StatusReply* reply);

/// Sends the module registration document to the host, every time.
std::uint64_t Open(const void* request, kx::OpenReply* reply);

/// Asks the run loop to stop and returns at once.
///
/// Deliberate: takes no lock, so a request that falls between the loop's look at the flag and its
/// wait is seen only at the next broadcast, which another Close brings.
std::uint64_t Close(const void* request, kx::StatusReply* reply);

/// Negates the flag; no data is read.
std::uint64_t Read(const kx::TransferRequest* request, kx::TransferReply* reply);

/// Accepts what is flagged or addressed to this module; the data is ignored.
///
/// Deliberate: unlike Read it leaves the reply untouched in the other case.
std::uint64_t Write(const kx::TransferRequest* request, kx::TransferReply* reply);

/// Does nothing.
std::uint64_t Seek(const void* request, kx::StatusReply* reply);

/// Code 1 runs discovery on the calling thread until Close; code 2 takes in a server and adapter
/// document; other codes do nothing.
///
/// Requires Load for codes 1 and 2: the context is used as it is.
/// Errors, through code 1 alone: boost::system::system_error when the I/O service cannot be made,
/// boost::thread_resource_error when its thread cannot; the context then counts as running for
/// ever, and Unload would wait as long.
std::uint64_t IOCTL(const kx::IoctlRequest* request, kx::IoctlReply* reply);
}
#pragma GCC visibility pop
