#pragma once

#include <string>

namespace kx {

/// One connected network adapter, with unchecked texts from the host's document.
struct AdapterRecord {
    std::string ipAddress;  ///< IPv4 address as dotted text
    std::string handle;     ///< network device name
    std::string macAddress; ///< MAC address as text
    std::string xAddr;      ///< where the recorder serves; filled by the run loop in its own copy
};

} // namespace kx
