#pragma once

#include "adapter.h"
#include "adapter_monitor.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// A server and adapter document on its way to the plug-in.
struct ServerDocument {
    std::string text;
    std::string summary; ///< what it lists, for the log
    /// Set when it takes adapters away. The next document then waits until the plug-in has acted on
    /// this one: of several that reach it at once the plug-in compares but the last with what it
    /// has, and an adapter that went and came back would look as if nothing had happened.
    bool takesAway;
    bool usersOwn; ///< it may be no good, which nothing but the plug-in's silence tells
};

/// Where the documents for the plug-in come from.
///
/// Threads: one.
class IDocumentSource {
public:
    IDocumentSource() = default;
    IDocumentSource(const IDocumentSource&) = delete;
    IDocumentSource& operator=(const IDocumentSource&) = delete;
    virtual ~IDocumentSource() = default;

    /// Reads anew; what was read is handed over even if it is the same as before.
    ///
    /// Errors: std::exception; nothing is handed over then.
    virtual void Read() = 0;

    /// Readable, as poll(2) has it, when there are changes to read; -1: never.
    virtual int Descriptor() const { return -1; }

    /// Reads what Descriptor has told of; only what differs is handed over. Errors: as Read.
    virtual void ReadChanges() {}

    /// The next document to hand over, which then counts as handed over.
    virtual std::optional<ServerDocument> Next() = 0;
};

/// Documents by which a server tells its port and its adapters. A device's name is the handle.
class CAdapterSource : public IDocumentSource {
public:
    /// Gives the adapters to list, as they are now.
    using ReadListed = std::function<std::vector<Adapter>()>;

    /// @param follow  whether changes are watched for
    CAdapterSource(int serverPort, ReadListed listed, bool follow);

    void Read() override;
    int Descriptor() const override;
    void ReadChanges() override;

    /// Leaves an adapter out once if its device is another than the one handed over last: the
    /// plug-in has to let go of the old one first.
    std::optional<ServerDocument> Next() override;

private:
    const int port;
    const ReadListed readListed;
    std::optional<CAdapterMonitor> monitor; // before the first look: nothing is missed in between
    std::vector<Adapter> target;            // to be handed over
    std::vector<Adapter> handedOver;
    std::string handedOverText;
    bool pending = false;
};

/// A document of the user's own, as it is.
class CFileSource : public IDocumentSource {
public:
    /// @param file  its name; "-": standard input, which can be read only once
    explicit CFileSource(std::string file);

    void Read() override;
    std::optional<ServerDocument> Next() override;

private:
    const std::string name;
    std::optional<std::string> unsent;
    bool inputRead = false;
};

} // namespace kx::tools
