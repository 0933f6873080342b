#pragma once

#include "plugin_record.h"

namespace kx::tools {

/// Prints an entry as one line on standard output: time of day, label, text. The line is flushed.
///
/// Threads: any, also at once; entries come out whole.
void Print(const LogEntry& entry);

/// The callback that the plug-in is given: prints what the plug-in sends and leaves the status at
/// 0. A HostCallback.
void OnPluginRequest(const HostRequest* request, HostReply* reply);

/// How many log records the plug-in has sent so far. Threads: any.
unsigned LogRecordCount();

} // namespace kx::tools
