#pragma once

#include "discovery_soap.h"
#include "uris.h"
#include "uuid.h"

#include <iterator>
#include <string>
#include <string_view>

namespace kx::benchmarks {

/// Returns the description of an imaginary recorder. Its texts are as long as a real recorder's.
inline EndpointDescription MakeDescription()
{
    EndpointDescription description;
    NewUuidString(description.address);
    description.mac = "02:00:00:00:07:01";
    description.types.assign(std::begin(kDeviceTypes), std::end(kDeviceTypes));
    description.xaddrs = "ktzkx://10.7.0.1:22609";
    return description;
}

/// An answer like the plug-in's, built once; for each Probe only its identifier is copied in.
class CCannedAnswer {
public:
    CCannedAnswer()
    {
        const std::string identifier = kStart + std::string(kUuidTextSize - sizeof('\0'), '#');
        CDiscoverySoap().ProbeMatches(identifier, MakeDescription(), text);
        identifierAt = text.find(identifier);
    }

    /// Returns the answer to a Probe. The next call changes the text.
    ///
    /// @param probe  a Probe whose identifier is "urn:uuid:" and a UUID, as pelorin-load sends it
    const std::string& To(std::string_view probe)
    {
        constexpr std::size_t size = sizeof(kStart) + kUuidTextSize - 2 * sizeof('\0');
        const std::size_t from = probe.find(kStart);
        if (from != std::string_view::npos && from + size <= probe.size())
            text.replace(identifierAt, size, probe.substr(from, size));
        return text;
    }

private:
    static constexpr char kStart[] = "urn:uuid:";

    std::string text;
    std::size_t identifierAt;
};

} // namespace kx::benchmarks
