// The socket on which the encoder front tells the application how far its export is.
//
// A front connects once, names the file that it writes, and then sends its messages; a connection that
// closes here means to it that the application is dead. UI thread only.

#pragma once

#include "base/uniquefd.h"
#include "export/exportmessages.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

class ExportSocket
{
public:
    /// Lets exports of this process go through the encoder front, and returns the socket for it; null
    /// where the user names an ffmpeg, and where neither an ffmpeg nor the front is found.
    ///
    /// Writes the environment (MOVANE_FFMPEG_BIN, MOVANE_EXPORT_SOCKET): to be called before any thread
    /// runs that reads it. The runtime folder must be there.
    static std::unique_ptr<ExportSocket> OpenForFront();

    /// Listens at "export.socket" in Folder, however long its path is. A failure is logged, and
    /// OpenForFront names no socket then: a front works alone as well.
    explicit ExportSocket(const std::filesystem::path& Folder);
    /// Closes all connections and removes the socket's file.
    ~ExportSocket();
    ExportSocket(const ExportSocket&) = delete;
    ExportSocket& operator=(const ExportSocket&) = delete;

    const std::filesystem::path& Path() const { return SocketPath; }

    /// Readable while there is something to take.
    int Descriptor() const { return Poll.Get(); }

    /// Takes all that has come, and returns what the front that writes OutputPath has said.
    std::vector<ExportMessage> Take(const std::string& OutputPath);
    /// True while the front that writes OutputPath is connected, as far as Take has seen.
    bool IsConnected(const std::string& OutputPath) const;
    /// Asks the front that writes OutputPath to end; false when it is not there.
    bool SendStop(const std::string& OutputPath) const;

private:
    struct Connection
    {
        UniqueFd Socket;
        std::string OutputPath; ///< empty until the front has named it
    };

    bool Listen();
    void Accept();
    bool Read(Connection& From, const std::string& OutputPath, std::vector<ExportMessage>& Out);

    std::filesystem::path SocketPath;
    bool bListens = false;
    UniqueFd Folder;
    UniqueFd Poll; ///< of the listener and all connections
    UniqueFd Listener;
    std::vector<Connection> Connections;
};
