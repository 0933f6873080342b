#pragma once

#include "adapter_record.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <atomic>
#include <cstdint>
#include <vector>

namespace kx {

/// What the entry points, the document handler and the run loop share. One per process, made by
/// Load and freed by Unload; freeing goes from the last field to the first.
///
/// Errors: construction throws boost::thread_resource_error.
struct PluginContext {
    /// Set by Close, never cleared: a stopped context stays stopped.
    std::atomic<bool> stopRequested{false};
    /// Set while the run loop lives; Unload waits for its end.
    std::atomic<bool> running{false};
    /// Guards `adapters` and the pair of `adapters` and `serverPort`.
    boost::mutex mutex;
    /// Broadcast when a document was taken in or a stop was asked for.
    boost::condition_variable condition;
    std::vector<AdapterRecord> adapters;
    /// As read, without a range check. Atomic: the run loop's first look takes no lock.
    std::atomic<std::int32_t> serverPort{22609};
};

} // namespace kx
