#pragma once

#include <string>

namespace kx {

/// One connected network adapter, as the host's document names it, without a check of its form.
struct AdapterRecord {
    std::string ipAddress;  ///< IPv4 address as dotted text
    std::string handle;     ///< network device name
    std::string macAddress; ///< MAC address as text
    std::string xAddr;      ///< where the recorder serves; filled by the run loop in its own copy
};

} // namespace kx
