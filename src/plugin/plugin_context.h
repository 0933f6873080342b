#pragma once

#include "adapter_record.h"
#include "host_document.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <cstdint>
#include <vector>

namespace kx {

/// The state that the entry points share with the run loop (RunDiscoveryLoop). One per process,
/// created by Load and freed by Unload.
///
/// Errors: the constructor throws boost::thread_resource_error when it cannot create the mutex or
/// the condition variable.
struct PluginContext {
    /// Set by Close and never cleared: after Close, every further run on this context returns
    /// without starting an endpoint.
    std::atomic<bool> stopRequested{false};
    /// Set while RunDiscoveryLoop runs; Unload waits until it is clear. If RunDiscoveryLoop throws,
    /// the flag stays set until a later call returns without an exception.
    std::atomic<bool> running{false};
    /// Guards `adapters`. Held also while `serverPort` changes, so that the run loop never combines
    /// the adapters of one document with the port of another.
    boost::mutex mutex;
    /// The run loop waits for it. Notified when a document was applied or a stop was requested.
    boost::condition_variable condition;
    std::vector<AdapterRecord> adapters;
    /// The port from the host's document, without a range check. Atomic, because the run loop first
    /// reads it without the mutex.
    std::atomic<std::int32_t> serverPort{kDefaultServerPort};
};

} // namespace kx
