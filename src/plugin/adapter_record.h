#pragma once

#include <string>

namespace kx {

/// One connected network adapter. The host's document gives the first three texts, which are not
/// empty and otherwise unchecked.
struct AdapterRecord {
    std::string ipAddress;  ///< IPv4 address as dotted text
    std::string handle;     ///< network device name
    std::string macAddress; ///< MAC address as text
    std::string xAddr;      ///< URI of the recorder; set only by the run loop, in its own copy
};

} // namespace kx
