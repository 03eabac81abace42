// A piece of work as a user to whom file modes and limits apply, also when the tests run as root.

#pragma once

#include <array>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>

#include <grp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// Makes this process one to which file modes and limits apply; false when that can't be done.
///
/// Under root it becomes nobody, and Folder with all that is in it becomes nobody's.
inline bool BecomeOrdinaryUser(const std::filesystem::path& Folder)
{
    constexpr uid_t Nobody = 65534;
    if (geteuid() != 0)
    {
        return true;
    }
    bool bIsTheirs = lchown(Folder.c_str(), Nobody, Nobody) == 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Folder))
    {
        bIsTheirs = lchown(entry.path().c_str(), Nobody, Nobody) == 0 && bIsTheirs;
    }
    // As for whoever did not change: its files in /proc are its own.
    return bIsTheirs && setgroups(0, nullptr) == 0 && setgid(Nobody) == 0 && setuid(Nobody) == 0 &&
           prctl(PR_SET_DUMPABLE, 1) == 0;
}

/// Runs Work in a child process and returns its text; that of an exception begins with "thrown: ".
///
/// The child is an ordinary user, see above. To be called while the process has no other thread.
inline std::string TextFromOrdinaryUser(const std::filesystem::path& Folder,
                                        const std::function<std::string()>& Work)
{
    std::array<int, 2> toParent = {-1, -1};
    if (pipe(toParent.data()) != 0)
    {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0)
    {
        close(toParent[0]);
        std::string text;
        try
        {
            text = BecomeOrdinaryUser(Folder) ? Work() : "can't become nobody";
        }
        catch (const std::exception& error)
        {
            text = std::string("thrown: ") + error.what();
        }
        const bool bTold =
            write(toParent[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(bTold ? 0 : 1);
    }
    close(toParent[1]);
    std::string text;
    std::array<char, 4096> buffer = {};
    for (ssize_t size = 0; (size = read(toParent[0], buffer.data(), buffer.size())) > 0;)
    {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    close(toParent[0]);
    waitpid(child, nullptr, 0);
    return text;
}
