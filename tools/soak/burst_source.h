#pragma once

#include "document_source.h"
#include "plugin_library.h"

#include <chrono>
#include <random>

namespace kx::tools {

/// The documents of a server that follows its adapters, and now and then, ahead of the next one, a
/// burst of others from two threads at once: some list adapters that are not there, some are huge,
/// some broken. Behind each burst comes the right document again. Once a second it also prints
/// ProcessState.
class CBurstSource : public IDocumentSource {
public:
    /// @param served    loaded and not unloaded whenever Next is called
    /// @param generator decides about the bursts; both outlive this
    CBurstSource(const CPluginLibrary& served, std::mt19937& generator);

    void Read() override { adapters.Read(); }
    int Descriptor() const override { return adapters.Descriptor(); }
    void ReadChanges() override { adapters.ReadChanges(); }
    std::optional<ServerDocument> Next() override;

private:
    using Clock = std::chrono::steady_clock;

    void SendBurst();
    std::string MakeDocument();

    const CPluginLibrary& plugin;
    std::mt19937& random;
    CAdapterSource adapters;
    Clock::time_point nextBurst;
    Clock::time_point nextState;
};

/// A random time with the given mean, mostly shorter and now and then much longer.
std::chrono::milliseconds RandomTime(std::mt19937& generator, std::chrono::milliseconds mean);

} // namespace kx::tools
