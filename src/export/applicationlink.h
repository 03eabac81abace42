// The front's end of the socket between it and the application that started it.
//
// Without a socket in the environment all of this does nothing and the front works alone. A socket that
// is named and that nobody answers is a dead application. One thread.

#pragma once

#include "base/uniquefd.h"
#include "export/exportmessages.h"

#include <string>

class ApplicationLink
{
public:
    /// Connects to the socket at SocketPath, which may be longer than an address holds, and sends
    /// OutputPath as the first message. An empty path is none.
    ApplicationLink(const std::string& SocketPath, const std::string& OutputPath);

    /// False where the application that named the socket is dead already.
    bool IsApplicationAlive() const { return bAlive; }

    /// To be polled for reading; -1 where there is nobody.
    int Fd() const { return Socket.Get(); }

    /// Sends one message. Progress that the application has no room for is left out; everything else
    /// waits for it, a second at the longest.
    void Send(const ExportMessage& Message);

    /// Reads what has come. True where the application wants a stop, or is dead.
    bool ReadsStop();

private:
    UniqueFd Socket;
    bool bAlive = true;
};
