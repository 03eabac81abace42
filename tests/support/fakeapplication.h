// An application's end of the socket to an encoder front, stepped by the test.

#pragma once

#include "base/uniquefd.h"
#include "export/exportmessages.h"
#include "support/waitfor.h"

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

class FakeApplication
{
public:
    /// Listens at Path, whose folder must exist and may have a long name.
    explicit FakeApplication(const std::filesystem::path& Path)
        : Listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        const UniqueFd folder(open(Path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        const std::string place =
            "/proc/self/fd/" + std::to_string(folder.Get()) + '/' + Path.filename().native();
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        place.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(Listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            listen(Listener.Get(), 8) != 0)
        {
            throw std::runtime_error("no socket at " + Path.native());
        }
    }

    /// Waits for the next front.
    void Accept()
    {
        if (IsReady(Listener.Get()))
        {
            Front = UniqueFd(accept4(Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        }
    }

    /// Waits for the next message; nullopt at the end of the connection and at the deadline.
    std::optional<ExportMessage> Receive()
    {
        std::array<char, MaxExportMessageBytes> packet{};
        const ssize_t size = IsReady(Front.Get())
                                 ? recv(Front.Get(), packet.data(), packet.size(), MSG_DONTWAIT)
                                 : -1;
        return size <= 0 ? std::nullopt
                         : ReadExportMessage({packet.data(), static_cast<std::size_t>(size)});
    }

    /// All messages up to the end of the connection.
    std::vector<ExportMessage> ReceiveAll()
    {
        std::vector<ExportMessage> messages;
        while (const std::optional<ExportMessage> message = Receive())
        {
            messages.push_back(*message);
        }
        return messages;
    }

    void SendStop() const
    {
        const std::string packet = WriteExportMessage({ExportMessageType::Stop});
        send(Front.Get(), packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    /// As if it had died.
    void Die()
    {
        Front.Close();
        Listener.Close();
    }

private:
    static bool IsReady(int Fd)
    {
        pollfd waiting = {Fd, POLLIN, 0};
        return poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(Deadline).count())) > 0;
    }

    UniqueFd Listener;
    UniqueFd Front;
};
