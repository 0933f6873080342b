// A server like floor.cpp, but with asynchronous calls of Boost.Asio, as the plug-in uses them. The
// difference between the two servers' costs is the cost of Boost.Asio.

#include "canned_answer.h"
#include "discovery_group.h"
#include "recorder_socket.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <array>
#include <cstdio>
#include <exception>

using boost::asio::ip::udp;
using boost::system::error_code;

namespace {

class CEcho {
public:
    explicit CEcho(boost::asio::io_context& ioService)
        : socket(ioService, {udp::v4(), kx::kDiscoveryPort})
    {
        socket.set_option(udp::socket::receive_buffer_size(kx::kRecorderBufferSize));
        Receive();
    }

private:
    void Receive()
    {
        socket.async_receive_from(boost::asio::buffer(buffer), peer,
                                  [this](const error_code& error, std::size_t length) {
                                      if (!error)
                                          Send(answer.To({buffer.data(), length}));
                                  });
    }

    void Send(const std::string& text)
    {
        socket.async_send_to(boost::asio::buffer(text), peer,
                             [this](const error_code& error, std::size_t /*sent*/) {
                                 if (!error)
                                     Receive();
                             });
    }

    udp::socket socket;
    udp::endpoint peer;
    std::array<char, kx::kRecorderReadSize> buffer{};
    kx::benchmarks::CCannedAnswer answer;
};

} // namespace

int main()
{
    try {
        boost::asio::io_context ioService;
        const CEcho echo(ioService);
        std::puts("ready");
        std::fflush(stdout);
        ioService.run();
        std::fputs("asio_echo: a call failed\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "asio_echo: %s\n", error.what());
    }
    return 1;
}
