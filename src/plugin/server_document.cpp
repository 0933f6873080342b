#include "server_document.h"

#include "server_document_reader.h"

#include <boost/thread/lock_guard.hpp>

namespace kx {

void ApplyServerDocument(PluginContext& context, const char* text, std::int32_t length)
{
    std::optional<ServerSettings> settings = ReadServerDocument(text, length);
    if (!settings)
        return;
    {
        const boost::lock_guard<boost::mutex> lock(context.mutex);
        // Swapped, so that the previous adapters are freed after the lock is released.
        context.adapters.swap(settings->adapters);
        if (settings->port)
            context.serverPort = *settings->port;
    }
    context.condition.notify_all();
}

} // namespace kx
