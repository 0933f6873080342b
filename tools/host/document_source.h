#pragma once

#include "adapter.h"
#include "adapter_monitor.h"
#include "document_check.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kx::tools {

/// Returns a server and adapter document (pelorin/plugin.h). An adapter's name becomes its Handle.
std::string MakeServerDocument(int port, const std::vector<Adapter>& adapters);

/// A server and adapter document to hand to the plug-in.
struct OutgoingDocument {
    std::string text;
    std::string summary;                ///< its contents or its origin, for the log
    std::optional<DocumentCheck> check; ///< only for a document that the user wrote
};

/// Returns the contents of a file.
///
/// @param name  "-": standard input, which can be read only once
///
/// Errors: std::runtime_error when the file cannot be read or is longer than a document may be,
/// 2^31 - 1 bytes. Not thread-safe.
std::string ReadDocument(const std::string& name);

/// Returns a file's name for messages: "standard input" for "-".
std::string DocumentName(const std::string& name);

/// Supplies the server and adapter documents (pelorin/plugin.h) that the host hands to the plug-in.
///
/// Not thread-safe.
class IDocumentSource {
public:
    IDocumentSource() = default;
    IDocumentSource(const IDocumentSource&) = delete;
    IDocumentSource& operator=(const IDocumentSource&) = delete;
    virtual ~IDocumentSource() = default;

    /// Reads what the document is made from, such as the adapters. Next then returns a document
    /// even if nothing has changed.
    ///
    /// Errors: std::exception; there is no new document then.
    virtual void Read() = 0;

    /// Returns a descriptor that becomes readable, as for poll(2), when ReadChanges has something
    /// to read; -1 if this source does not watch for changes.
    virtual int Descriptor() const { return -1; }

    /// Reads the changes; call it when the descriptor is readable. Next then returns a document
    /// only if it differs from the last one. Errors: as Read.
    virtual void ReadChanges() {}

    /// Returns the document to hand over if there is a new one since the last call.
    virtual std::optional<OutgoingDocument> Next() = 0;
};

/// Supplies documents that list adapters of this machine.
class CAdapterSource : public IDocumentSource {
public:
    /// Reads the adapters to list, in their present state. Errors: std::exception.
    using ReadListed = std::function<std::vector<Adapter>()>;

    /// @param follow  watches the adapters for changes
    ///
    /// Errors: std::runtime_error when the adapters cannot be watched.
    CAdapterSource(int serverPort, ReadListed listed, bool follow);

    void Read() override;
    int Descriptor() const override;
    void ReadChanges() override;

    std::optional<OutgoingDocument> Next() override;

private:
    const int port;
    const ReadListed readListed;
    /// Empty without `follow`. Created before the first Read, so that no change after it is missed.
    std::optional<CAdapterMonitor> monitor;
    std::vector<Adapter> adapters;
    /// Indexes of the devices that were deleted since `adapters` was read. A member, to keep them
    /// when readListed throws.
    std::set<int> deleted;
    /// How many times ReadChanges found a connected adapter deleted, renamed or disconnected. An
    /// adapter that is back under its name may be another device, and sockets of the old device
    /// receive nothing. The document contains this number, so the plug-in opens new sockets.
    int goneCount = 0;
    std::string handedOverText;
};

/// Supplies the user's document unchanged, with the findings of CheckDocument.
class CFileSource : public IDocumentSource {
public:
    /// @param file       see ReadDocument
    /// @param elsewhere  true: the adapters are not compared with the devices of this machine
    CFileSource(std::string file, bool elsewhere);

    void Read() override;
    std::optional<OutgoingDocument> Next() override;

private:
    const std::string name;
    const bool elsewhere;
    std::optional<std::string> unsent;
};

} // namespace kx::tools
