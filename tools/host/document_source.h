#pragma once

#include "adapter.h"
#include "adapter_monitor.h"
#include "document_check.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// Writes a server and adapter document. A device's name is the handle.
std::string MakeServerDocument(int port, const std::vector<Adapter>& adapters);

/// A server and adapter document on its way to the plug-in.
struct OutgoingDocument {
    std::string text;
    std::string summary;                ///< what it lists, for the log
    std::optional<DocumentCheck> check; ///< of the user's own document
};

/// Reads a whole file.
///
/// @param name  "-": standard input, which can be read only once
///
/// Errors: std::runtime_error, also when it is too long for a document.
std::string ReadDocument(const std::string& name);

/// What a document's file is called in messages.
std::string DocumentName(const std::string& name);

/// Where the documents for the plug-in come from.
///
/// Threads: one.
class IDocumentSource {
public:
    IDocumentSource() = default;
    IDocumentSource(const IDocumentSource&) = delete;
    IDocumentSource& operator=(const IDocumentSource&) = delete;
    virtual ~IDocumentSource() = default;

    /// Reads again; the result is handed over even if nothing changed.
    ///
    /// Errors: std::exception; nothing is handed over then.
    virtual void Read() = 0;

    /// A descriptor that becomes readable, as for poll(2), when there are changes; -1: never.
    virtual int Descriptor() const { return -1; }

    /// Reads the changes that Descriptor announced; hands over only what differs. Errors: as Read.
    virtual void ReadChanges() {}

    /// Returns the next document to hand over, which then counts as handed over.
    virtual std::optional<OutgoingDocument> Next() = 0;
};

/// Documents by which a server tells its port and its adapters.
class CAdapterSource : public IDocumentSource {
public:
    /// Returns the adapters to list, as they are now.
    using ReadListed = std::function<std::vector<Adapter>()>;

    /// @param follow  whether to watch for changes
    CAdapterSource(int serverPort, ReadListed listed, bool follow);

    void Read() override;
    int Descriptor() const override;
    void ReadChanges() override;

    std::optional<OutgoingDocument> Next() override;

private:
    const int port;
    const ReadListed readListed;
    std::optional<CAdapterMonitor> monitor; // created before the first reading: misses nothing
    std::vector<Adapter> adapters;
    /// How many times connected adapters went. One that is back under its name may be another
    /// device: a document with this number differs from all before, so the plug-in opens new
    /// sockets.
    int goneCount = 0;
    std::string handedOverText;
};

/// A document of the user's own, handed over as it is, with what CheckDocument finds in it.
class CFileSource : public IDocumentSource {
public:
    /// @param file       its name; "-": standard input, which can be read only once
    /// @param elsewhere  the findings do not compare the document with this machine's devices
    CFileSource(std::string file, bool elsewhere);

    void Read() override;
    std::optional<OutgoingDocument> Next() override;

private:
    const std::string name;
    const bool elsewhere;
    std::optional<std::string> unsent;
};

} // namespace kx::tools
