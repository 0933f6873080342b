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
    std::optional<DocumentCheck> check; ///< only for the user's own document
};

/// Reads a whole file.
///
/// @param name  "-": standard input, which can be read only once
///
/// Errors: std::runtime_error, also when it is too long for a document.
std::string ReadDocument(const std::string& name);

/// Returns the name of a document's file for messages.
std::string DocumentName(const std::string& name);

/// Supplies the documents for the plug-in.
///
/// Not thread-safe.
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

    /// Returns a descriptor that becomes readable, as for poll(2), when there are changes; -1:
    /// never.
    virtual int Descriptor() const { return -1; }

    /// Reads the changes after Descriptor became readable; hands over a document only if it differs
    /// from the last one. Errors: as Read.
    virtual void ReadChanges() {}

    /// Returns the document to hand over, once; nothing if there is no new one.
    virtual std::optional<OutgoingDocument> Next() = 0;
};

/// Writes documents with a port and adapters of this machine.
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
    std::optional<CAdapterMonitor> monitor; // created before the first Read, to miss no change
    std::vector<Adapter> adapters;
    /// How many times connected adapters disappeared. An adapter that is back under its name may be
    /// another device: this number makes the document differ, so that the plug-in opens new
    /// sockets.
    int goneCount = 0;
    std::string handedOverText;
};

/// Supplies the user's document unchanged, with the findings of CheckDocument.
class CFileSource : public IDocumentSource {
public:
    /// @param file       its name; "-": standard input, which can be read only once
    /// @param elsewhere  do not compare the document with this machine's devices
    CFileSource(std::string file, bool elsewhere);

    void Read() override;
    std::optional<OutgoingDocument> Next() override;

private:
    const std::string name;
    const bool elsewhere;
    std::optional<std::string> unsent;
};

} // namespace kx::tools
