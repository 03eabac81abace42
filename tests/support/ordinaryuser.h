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

/// Under root, who is ordinary in this test program and its children. Another in each program, for what
/// one user's processes take counts against his limits in all programs.
inline const uid_t OrdinaryUid = 20'000 + static_cast<uid_t>(getpid()) % 40'000;

/// Makes this process one to which file modes and limits apply; false when that can't be done.
///
/// Under root it becomes OrdinaryUid, and Folder with all that is in it becomes theirs.
inline bool BecomeOrdinaryUser(const std::filesystem::path& Folder)
{
    if (geteuid() != 0)
    {
        return true;
    }
    bool bIsTheirs = lchown(Folder.c_str(), OrdinaryUid, OrdinaryUid) == 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Folder))
    {
        bIsTheirs = lchown(entry.path().c_str(), OrdinaryUid, OrdinaryUid) == 0 && bIsTheirs;
    }
    // As for whoever did not change: its files in /proc are its own.
    return bIsTheirs && setgroups(0, nullptr) == 0 && setgid(OrdinaryUid) == 0 &&
           setuid(OrdinaryUid) == 0 && prctl(PR_SET_DUMPABLE, 1) == 0;
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
            text = BecomeOrdinaryUser(Folder) ? Work() : "can't become an ordinary user";
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
