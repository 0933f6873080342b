// A server that answers with as little work as possible, to compare the plug-in with: blocking
// calls on a single thread, and a canned answer into which only the identifier of a Probe is
// copied. With the argument "drop" it never answers.

#include "canned_answer.h"
#include "discovery_group.h"
#include "recorder_socket.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

void ExitUnless(bool done, const char* what)
{
    if (done)
        return;
    std::perror(what);
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    const bool drop = argc > 1 && std::strcmp(argv[1], "drop") == 0;
    kx::benchmarks::CCannedAnswer answer;

    const int server = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_port = htons(kx::kDiscoveryPort);
    ExitUnless(bind(server, reinterpret_cast<sockaddr*>(&own), sizeof(own)) == 0, "bind");
    ExitUnless(setsockopt(server, SOL_SOCKET, SO_RCVBUF, &kx::kRecorderBufferSize,
                          sizeof(kx::kRecorderBufferSize)) == 0,
               "SO_RCVBUF");

    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        char datagram[kx::kRecorderReadSize];
        sockaddr_in peer{};
        socklen_t peerSize = sizeof(peer);
        auto* const peerAddress = reinterpret_cast<sockaddr*>(&peer);
        const ssize_t size =
            recvfrom(server, datagram, sizeof(datagram), 0, peerAddress, &peerSize);
        ExitUnless(size >= 0, "recvfrom");
        if (drop)
            continue;
        const std::string& text = answer.To({datagram, static_cast<std::size_t>(size)});
        ExitUnless(sendto(server, text.data(), text.size(), 0, peerAddress, peerSize) >= 0,
                   "sendto");
    }
}
