// The socket on which the encoder front tells the application how far its export is.
//
// A front connects once, names the file that it writes, and then sends its messages. When the connection closes,
// the front takes the application for dead. UI thread only.

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
    /// Makes this process's exports use the encoder front, and returns the socket for it. Null when the user names
    /// an ffmpeg, or when there is no ffmpeg or no front.
    ///
    /// Writes the environment (MOVANE_FFMPEG_BIN, MOVANE_EXPORT_SOCKET): call it before starting any thread that
    /// reads the environment. The runtime folder must exist.
    static std::unique_ptr<ExportSocket> OpenForFront();

    /// Listens at "export.socket" in Folder, whose path may have any length. A failure is logged; OpenForFront then
    /// names no socket, and the front works without one.
    explicit ExportSocket(const std::filesystem::path& Folder);
    /// Closes all connections and removes the socket's file.
    ~ExportSocket();
    ExportSocket(const ExportSocket&) = delete;
    ExportSocket& operator=(const ExportSocket&) = delete;

    const std::filesystem::path& Path() const { return SocketPath; }

    /// Readable while there is something to take.
    int Descriptor() const { return Poll.Get(); }

    /// Takes all messages, and returns those of the front that writes OutputPath.
    std::vector<ExportMessage> Take(const std::string& OutputPath);
    /// True while the front that writes OutputPath is connected, as far as Take has seen.
    bool IsConnected(const std::string& OutputPath) const;
    /// Asks the front that writes OutputPath to end; false when it is not there.
    bool SendStop(const std::string& OutputPath) const;

private:
    struct Connection
    {
        UniqueFd Socket;
        std::string OutputPath; ///< empty until the front named it
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
