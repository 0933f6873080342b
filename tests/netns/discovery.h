#pragma once

#include "fake_host.h"
#include "network.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using Lines = std::vector<std::string>;

inline const std::string kCam0 = "10.7.0.1 cam0 02:00:00:00:07:01";
inline const std::string kCam1 = "10.8.0.1 cam1 02:00:00:00:08:01";

/// Counts the entries of a directory: in /proc/self/fd the open descriptors, in /proc/self/task the
/// threads.
inline std::ptrdiff_t Entries(const char* directory)
{
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator(directory), directory_iterator());
}

/// A fake host in the recorder's namespace, whose plug-in waits for documents, and sockets in the
/// prober's. `group` and `group1` receive what the recorder sends to the multicast group on cam0
/// and cam1; `prober` and `prober1` send Probes to these adapters and receive the answers.
class Discovery : public testing::Test {
protected:
    Discovery()
    {
        host.Load();
        host.Run();
        network.AsProber([this] {
            group = std::make_unique<Socket>("eye0", "10.7.0.2", 3702);
            group1 = std::make_unique<Socket>("eye1", "10.8.0.2", 3702);
            prober = std::make_unique<Socket>("eye0", "10.7.0.2", 0);
            prober1 = std::make_unique<Socket>("eye1", "10.8.0.2", 0);
        });
    }

    void Send(const Lines& adapters, const std::string& port = "22609") const
    {
        host.Apply(MakeTestDocument(adapters, port));
    }

    /// Returns the log records that contain the address.
    Lines LogOf(const std::string& address) const
    {
        Lines lines;
        for (const std::string& each : host.Log()) {
            if (each.find(address) != std::string::npos)
                lines.push_back(each);
        }
        return lines;
    }

    std::size_t Count(const std::string& text) const { return host.Times(text).size(); }

    Network network;
    FakeHost host;
    std::unique_ptr<Socket> group;
    std::unique_ptr<Socket> group1;
    std::unique_ptr<Socket> prober;
    std::unique_ptr<Socket> prober1;
};
