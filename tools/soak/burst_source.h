#pragma once

#include "document_source.h"
#include "plugin_library.h"

#include <chrono>
#include <random>

namespace kx::tools {

/// Supplies the documents of a server that follows its adapters. At random times, two threads hand
/// over a burst of other documents concurrently: some list absent adapters, some are huge, some
/// truncated. The correct document follows. Prints ProcessState once a second.
class CBurstSource : public IDocumentSource {
public:
    /// @param served     must be loaded when Next is called; outlives this
    /// @param generator  for the times and documents of the bursts; outlives this
    CBurstSource(const CPluginLibrary& served, std::mt19937& generator);

    void Read() override { adapterSource.Read(); }
    int Descriptor() const override { return adapterSource.Descriptor(); }
    void ReadChanges() override { adapterSource.ReadChanges(); }
    std::optional<OutgoingDocument> Next() override;

private:
    using Clock = std::chrono::steady_clock;

    void SendBurst();
    std::string MakeDocument();

    const CPluginLibrary& plugin;
    std::mt19937& random;
    CAdapterSource adapterSource;
    Clock::time_point nextBurst;
    Clock::time_point nextState;
};

/// Returns a random time, exponentially distributed.
std::chrono::milliseconds RandomTime(std::mt19937& generator, std::chrono::milliseconds mean);

} // namespace kx::tools
