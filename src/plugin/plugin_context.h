#pragma once

#include "adapter_record.h"
#include "host_document.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <cstdint>
#include <vector>

namespace kx {

/// State shared by the entry points, the document handler and the run loop. One per process,
/// created by Load and freed by Unload.
///
/// Errors: construction throws boost::thread_resource_error.
struct PluginContext {
    /// Set by Close, never cleared: a stopped context stays stopped.
    std::atomic<bool> stopRequested{false};
    /// Set by a run and cleared when it returns; Unload waits for that. A run that throws leaves it
    /// set, and the next one that returns clears it.
    std::atomic<bool> running{false};
    /// Guards `adapters`, and lets `adapters` and `serverPort` change in one step.
    boost::mutex mutex;
    /// Wakes the run loop after a document was applied or a stop was requested.
    boost::condition_variable condition;
    std::vector<AdapterRecord> adapters;
    /// As read, without a range check. Atomic: the run loop first reads it without the mutex.
    std::atomic<std::int32_t> serverPort{kDefaultServerPort};
};

} // namespace kx
