#include "app/exportsocket.h"

#include "base/environment.h"
#include "base/log.h"
#include "export/encoderfront.h"
#include "export/ffmpegsearch.h"
#include "host/apppaths.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
constexpr const char* SocketName = "export.socket";
constexpr const char* FfmpegVariable = "MOVANE_FFMPEG_BIN";

// White space is these four, as in an export.
bool IsBlank(const std::string& Text)
{
    return Text.find_first_not_of(" \t\n\r") == std::string::npos;
}

bool Watch(const UniqueFd& Poll, const UniqueFd& Watched)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    return epoll_ctl(Poll.Get(), EPOLL_CTL_ADD, Watched.Get(), &event) == 0;
}
} // namespace

std::unique_ptr<ExportSocket> ExportSocket::OpenForFront()
{
    const std::string front = EncoderFrontPath();
    const std::string named = EnvironmentValue(FfmpegVariable);
    // The front's own path is what another Movane has set, from which this one was started.
    const bool bNamed = !IsBlank(named) && named != front;
    if (bNamed || front.empty() || FindFfmpeg().empty())
    {
        return nullptr;
    }
    auto socket = std::make_unique<ExportSocket>(AppPaths::RuntimeDir());
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs yet
    setenv(FfmpegVariable, front.c_str(), 1);
    // A front takes a socket that nobody answers for that of a dead application.
    unsetenv(ExportSocketVariable);
    if (socket->bListens)
    {
        setenv(ExportSocketVariable, socket->SocketPath.c_str(), 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)
    return socket;
}

ExportSocket::ExportSocket(const std::filesystem::path& NewFolder)
    : SocketPath(NewFolder / SocketName)
    , Folder(open(NewFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
    , Poll(epoll_create1(EPOLL_CLOEXEC))
    , Listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    bListens = Listen();
    if (!bListens)
    {
        LogError(SocketPath.native() + " can't be opened (" +
                 std::generic_category().message(errno) + "): exports show no progress.");
    }
}

ExportSocket::~ExportSocket()
{
    if (bListens)
    {
        unlinkat(Folder.Get(), SocketName, 0);
    }
}

bool ExportSocket::Listen()
{
    // What a program that was killed has left; a file of another kind is nobody's to remove.
    struct stat info = {};
    if (fstatat(Folder.Get(), SocketName, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISSOCK(info.st_mode))
    {
        unlinkat(Folder.Get(), SocketName, 0);
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Through the folder's descriptor, for an address holds 107 bytes and a path may be longer.
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", Folder.Get(),
                  SocketName);
    return bind(Listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           fchmodat(Folder.Get(), SocketName, S_IRUSR | S_IWUSR, 0) == 0 &&
           listen(Listener.Get(), SOMAXCONN) == 0 && Watch(Poll, Listener);
}

void ExportSocket::Accept()
{
    for (;;)
    {
        UniqueFd socket(accept4(Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket.IsOpen())
        {
            return;
        }
        if (Watch(Poll, socket))
        {
            Connections.push_back({std::move(socket), {}});
        }
    }
}

// False when the connection is over, or says what no front says.
bool ExportSocket::Read(Connection& From,
                        const std::string& OutputPath,
                        std::vector<ExportMessage>& Out)
{
    std::array<char, MaxExportMessageBytes> packet = {};
    for (;;)
    {
        const ssize_t size = recv(From.Socket.Get(), packet.data(), packet.size(), 0);
        if (size <= 0)
        {
            return size < 0 && (errno == EAGAIN || errno == EINTR);
        }
        std::optional<ExportMessage> message =
            ReadExportMessage(std::string_view(packet.data(), static_cast<std::size_t>(size)));
        if (!message.has_value() ||
            (message->Type == ExportMessageType::Output) != From.OutputPath.empty())
        {
            return false;
        }
        if (message->Type == ExportMessageType::Output)
        {
            From.OutputPath = message->Text;
        }
        if (From.OutputPath == OutputPath)
        {
            Out.push_back(std::move(*message));
        }
    }
}

std::vector<ExportMessage> ExportSocket::Take(const std::string& OutputPath)
{
    std::vector<ExportMessage> messages;
    Accept();
    std::erase_if(Connections, [&](Connection& From) { return !Read(From, OutputPath, messages); });
    return messages;
}

bool ExportSocket::IsConnected(const std::string& OutputPath) const
{
    for (const Connection& connection : Connections)
    {
        if (connection.OutputPath == OutputPath)
        {
            return true;
        }
    }
    return false;
}

bool ExportSocket::SendStop(const std::string& OutputPath) const
{
    const std::string packet = WriteExportMessage({ExportMessageType::Stop});
    for (const Connection& connection : Connections)
    {
        if (connection.OutputPath == OutputPath)
        {
            return send(connection.Socket.Get(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
        }
    }
    return false;
}
