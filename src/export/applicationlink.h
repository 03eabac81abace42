// The front's end of the socket between it and the application that started it.
//
// Without a socket in the environment it does nothing and the front works alone. If nobody answers a socket that is
// named there, the application is dead. One thread.

#pragma once

#include "base/uniquefd.h"
#include "export/exportmessages.h"

#include <string>

class ApplicationLink
{
public:
    /// Connects to the socket at SocketPath, which may be longer than an address holds, and sends
    /// OutputPath as the first message. Without a path it does nothing.
    ApplicationLink(const std::string& SocketPath, const std::string& OutputPath);

    /// False when the application that named the socket is dead.
    bool IsApplicationAlive() const { return bAlive; }

    /// Poll it for reading; -1 without a connection.
    int Fd() const { return Socket.Get(); }

    /// Sends one message. Progress is dropped when the application has no room for it; other messages wait up to
    /// a second.
    void Send(const ExportMessage& Message);

    /// Reads all messages. True when the application asks for a stop or is dead.
    bool ReadsStop();

private:
    UniqueFd Socket;
    bool bAlive = true;
};
