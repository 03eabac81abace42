// In the encoder front's place: a program that says what a file tells it to say.
//
//     fakefront … OUTPUT
//
// Connects to MOVANE_EXPORT_SOCKET, names OUTPUT, and does the lines of the file that FAKE_FRONT_LINES
// names, one after the other:
//     send MESSAGE    sends a packet
//     make NAME       makes a file with the bytes NAME in the folder of OUTPUT
//     write           writes OUTPUT
//     once            ends well, with OUTPUT written, if this line was reached before
//     await           waits for a packet of the application, or its end; writes it to OUTPUT.told
//     pause           does nothing until a signal comes
//     say TEXT        writes a line to standard error
//     exit N          ends

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
std::string Variable(const char* Name)
{
    const char* const value = std::getenv(Name); // NOLINT(concurrency-mt-unsafe): one thread
    return value == nullptr ? std::string() : std::string(value);
}

int Connect()
{
    const std::string path = Variable("MOVANE_EXPORT_SOCKET");
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? fd : -1;
}

void Write(const std::filesystem::path& File, const std::string& Text)
{
    std::ofstream(File, std::ios::binary) << Text;
}
} // namespace

int main(int argc, char** argv)
{
    const std::filesystem::path output = argv[argc - 1];
    const int fd = Connect();
    const auto sendPacket = [fd](const std::string& Text)
    { return fd < 0 || send(fd, Text.data(), Text.size(), MSG_NOSIGNAL) >= 0; };
    sendPacket("output " + output.native());
    std::ifstream lines(Variable("FAKE_FRONT_LINES"));
    for (std::string line; std::getline(lines, line);)
    {
        const std::string word = line.substr(0, line.find(' '));
        const std::string rest = line.substr(std::min(line.size(), word.size() + 1));
        const std::filesystem::path before = Variable("FAKE_FRONT_LINES") + ".reached";
        if (word == "send")
        {
            sendPacket(rest);
        }
        else if (word == "make")
        {
            Write(output.parent_path() / rest, rest);
        }
        else if (word == "write" || (word == "once" && std::filesystem::exists(before)))
        {
            Write(output, "pictures");
            if (word == "once")
            {
                return 0;
            }
        }
        else if (word == "once")
        {
            Write(before, "");
        }
        else if (word == "await")
        {
            std::array<char, 64> packet = {};
            const ssize_t size = recv(fd, packet.data(), packet.size(), 0);
            Write(output.native() + ".told",
                  size > 0 ? std::string(packet.data(), static_cast<std::size_t>(size)) : "end");
        }
        else if (word == "pause")
        {
            pause();
        }
        else if (word == "say")
        {
            std::cerr << rest << '\n';
        }
        else if (word == "exit")
        {
            return std::stoi(rest);
        }
    }
    return 0;
}
