#pragma once

#include "document_source.h"
#include "plugin_library.h"

#include <chrono>
#include <random>

namespace kx::tools {

/// Supplies the documents of a server that follows its adapters. At random times, Next first hands
/// the plug-in a burst of random documents from two threads, then returns the correct document. It
/// also prints ProcessState, at most once a second.
class CBurstSource : public IDocumentSource {
public:
    /// @param served     Load of this library is called before Next; outlives this object
    /// @param generator  for the times and documents of the bursts; outlives this object
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

/// Returns a random time, exponentially distributed with this mean.
std::chrono::milliseconds RandomTime(std::mt19937& generator, std::chrono::milliseconds mean);

} // namespace kx::tools
