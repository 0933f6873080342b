// Reads the input as pelorin-probe reads a datagram. Prints each device as JSON and as a table with
// --wide, and checks that no control characters of the input remain.

#include "event_json.h"
#include "event_table.h"
#include "require.h"

#include <boost/asio/ip/address_v4.hpp>

#include <algorithm>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using kx::tools::Event;
    using kx::tools::Message;
    const auto read = kx::tools::ReadMessage(reinterpret_cast<const char*>(data), size);
    const auto* message = std::get_if<Message>(&read);
    if (!message)
        return 0;
    const bool announcement =
        message->kind == Message::Kind::kHello || message->kind == Message::Kind::kBye;
    Require(!message->devices.empty(), "a message is of a device");
    Require(!announcement || message->devices.size() == 1, "an announcement is of one device");
    RelatesTo(*message, "urn:uuid:0a1b2c3d-0000-4000-8000-000000000001");

    const boost::asio::ip::udp::endpoint source(boost::asio::ip::address_v4::loopback(), 3702);
    const auto isControl = [](unsigned char each) { return each < 0x20 || each == 0x7f; };
    for (const kx::tools::Device& each : message->devices) {
        Require(!each.address.empty(), "a device has an address");
        const Event event{Event::Kind::kAnswer,
                          {each, message->relatesTo, message->appSequence, "eth0", source, {}, {}},
                          false,
                          {}};
        const std::string json = ToJsonLine(event);
        Require(std::none_of(json.begin(), json.end(), isControl), "JSON is one line");
        std::ostringstream table;
        kx::tools::CEventTable(table, {false, true, true, true}).Print(event);
        const std::string lines = table.str();
        Require(std::count_if(lines.begin(), lines.end(), isControl) == 2,
                "a device is a line below the heading");
    }
    return 0;
}
