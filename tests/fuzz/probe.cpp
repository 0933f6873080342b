// Passes the input to ParseProbe as a datagram. Checks the result, and which outputs it sets.

#include "discovery_soap.h"
#include "require.h"
#include "text.h"
#include "uris.h"

#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const kx::CDiscoverySoap soap{
        {std::begin(kx::kDeviceTypes), std::end(kx::kDeviceTypes)}};
    // An output that still has this value was not set: ParseProbe copies C strings, which contain
    // no NUL.
    const std::string untouched("\0", 1);
    std::string messageId = untouched;
    std::string types = untouched;
    std::string action = untouched;
    const std::int32_t result =
        soap.ParseProbe(reinterpret_cast<const char*>(data), size, messageId, types, action);

    Require(result == 0 || result == 1, "the result is 0 or 1");
    Require(messageId == untouched || kx::EndsWith(action, "Probe"),
            "an identifier is of a Probe alone");
    Require(types == untouched || messageId != untouched, "types come after an identifier");
    Require(result == 0 || kx::AnyTypeListed(soap.types, types, ""), "what matches names a type");
    Require(result == 0 || soap.MayMatch(reinterpret_cast<const char*>(data), size),
            "the quick look lets through what matches");
    for (const std::string& each : {messageId, types, action})
        Require(each == untouched || each.size() < size, "a text is shorter than its message");
    return 0;
}
