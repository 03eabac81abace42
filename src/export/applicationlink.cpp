#include "export/applicationlink.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace
{
constexpr int PatienceMs = 1000;

bool Connect(int Socket, std::string_view Path)
{
    sockaddr_un address = {};
    if (Path.size() >= sizeof(address.sun_path))
    {
        errno = ENAMETOOLONG;
        return false;
    }
    address.sun_family = AF_UNIX;
    std::copy(Path.begin(), Path.end(), address.sun_path);
    // An application that does not accept must not block the export.
    const timeval patience = {PatienceMs / 1000, 0};
    setsockopt(Socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const auto* const pAddress = reinterpret_cast<const sockaddr*>(&address);
    return connect(Socket, pAddress, sizeof(address)) == 0;
}

// A path too long for an address is reached through the descriptor of its folder.
bool ConnectWhereverItIs(int Socket, const std::string& Path)
{
    if (Path.size() < sizeof(sockaddr_un::sun_path))
    {
        return Connect(Socket, Path);
    }
    const std::filesystem::path path(Path);
    const UniqueFd folder(open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder.IsOpen() && Connect(Socket, "/proc/self/fd/" + std::to_string(folder.Get()) +
                                                  '/' + path.filename().native());
}
} // namespace

ApplicationLink::ApplicationLink(const std::string& SocketPath, const std::string& OutputPath)
{
    if (SocketPath.empty())
    {
        return;
    }
    UniqueFd connecting(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!connecting.IsOpen())
    {
        return;
    }
    if (ConnectWhereverItIs(connecting.Get(), SocketPath))
    {
        Socket = std::move(connecting);
        Send({ExportMessageType::Output, OutputPath});
        return;
    }
    bAlive = errno != ECONNREFUSED && errno != ENOENT;
}

void ApplicationLink::Send(const ExportMessage& Message)
{
    const std::string packet = WriteExportMessage(Message);
    const int patienceMs = Message.Type == ExportMessageType::Progress ? 0 : PatienceMs;
    pollfd room = {Socket.Get(), POLLOUT, 0};
    if (Socket.IsOpen() && poll(&room, 1, patienceMs) > 0)
    {
        // Not the end yet: reading finds the application's death, after its last messages.
        send(Socket.Get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
}

bool ApplicationLink::ReadsStop()
{
    std::array<char, MaxExportMessageBytes> packet{};
    while (Socket.IsOpen())
    {
        const ssize_t size = recv(Socket.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        if (size < 0)
        {
            if (errno == EINTR)
            {
                continue;
            }
            return errno != EAGAIN && errno != EWOULDBLOCK;
        }
        const auto message = ReadExportMessage({packet.data(), static_cast<std::size_t>(size)});
        // An empty packet means that the connection is closed.
        if (size == 0 || (message.has_value() && message->Type == ExportMessageType::Stop))
        {
            return true;
        }
    }
    return false;
}
