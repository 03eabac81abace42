#include "export/reservedname.h"

#include "export/exportsentences.h"
#include "export/leftovers.h"

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// The mode that ffmpeg uses; the umask applies.
constexpr mode_t Mode = 0666;

// The process that made the part makes the name right after it, so a part without a name exists for moments only.
constexpr int Looks = 200;

UniqueFd MakeFile(const UniqueFd& Folder, const std::string& Name)
{
    return UniqueFd(openat(Folder.Get(), Name.c_str(),
                           O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, Mode));
}

// Follows links, as the panel's search for a free name does.
bool IsSeen(const UniqueFd& Folder, const std::string& Name)
{
    struct stat status = {};
    return fstatat(Folder.Get(), Name.c_str(), &status, 0) == 0;
}

// Makes NAME.part as soon as there is none; closed if another program has the name or the part stays.
UniqueFd MakePart(const UniqueFd& Folder, const std::string& Name, const std::string& PartName)
{
    UniqueFd part = MakeFile(Folder, PartName);
    for (int look = 0; !part.IsOpen() && errno == EEXIST && look < Looks; ++look)
    {
        if (IsSeen(Folder, Name))
        {
            break;
        }
        poll(nullptr, 0, 1);
        part = MakeFile(Folder, PartName);
    }
    return part;
}
} // namespace

std::unique_ptr<ReservedName>
ReservedName::Take(const std::string& Path, bool& OutTaken, std::string& OutSentence)
{
    OutTaken = false;
    const std::filesystem::path path(Path);
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    std::unique_ptr<ReservedName> taken(new ReservedName);
    taken->Name = path.filename();
    taken->PartName = taken->Name + std::string(PartEnding);
    taken->Folder = UniqueFd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!taken->Folder.IsOpen())
    {
        OutSentence = CanNotBeWritten(Path, errno);
        return nullptr;
    }
    // Make the part first: a part without a name is recognisable as a leftover, an empty file is not.
    for (bool bGone = true; bGone;)
    {
        taken->Part = MakePart(taken->Folder, taken->Name, taken->PartName);
        // A disk without locks is used even so: other exports can't lock there either and remove nothing.
        while (taken->Part.IsOpen() && flock(taken->Part.Get(), LOCK_EX) != 0 && errno == EINTR)
        {
        }
        // Before it was locked another export may have removed it as a leftover.
        bGone = taken->Part.IsOpen() && !taken->IsOurs(taken->PartName, taken->Part.Get());
    }
    const bool bPart = taken->Part.IsOpen();
    if (bPart)
    {
        taken->Empty = MakeFile(taken->Folder, taken->Name);
    }
    if (taken->Empty.IsOpen())
    {
        return taken;
    }
    const int error = errno;
    OutTaken = error == EEXIST && IsSeen(taken->Folder, taken->Name);
    if (OutTaken)
    {
        OutSentence = taken->Name + " was taken by another program: export again.";
    }
    else if (error == EEXIST)
    {
        OutSentence =
            (bPart ? taken->Name : taken->PartName) + " is in the way: remove it and export again.";
    }
    else
    {
        OutSentence = CanNotBeWritten(Path, error);
    }
    return nullptr;
}

ReservedName::~ReservedName()
{
    // Remove the name first: while the part exists no other export takes the name.
    struct stat status = {};
    if (Empty.IsOpen() && IsOurs(Name, Empty.Get()) && fstat(Empty.Get(), &status) == 0 &&
        status.st_size == 0)
    {
        unlinkat(Folder.Get(), Name.c_str(), 0);
    }
    if (Part.IsOpen() && IsOurs(PartName, Part.Get()))
    {
        unlinkat(Folder.Get(), PartName.c_str(), 0);
    }
}

bool ReservedName::Publish(std::string& OutSentence)
{
    if (fsync(Part.Get()) != 0)
    {
        OutSentence = CanNotBeWritten(Name, errno);
        return false;
    }
    struct stat status = {};
    if (!IsOurs(Name, Empty.Get()) || fstat(Empty.Get(), &status) != 0 || status.st_size != 0 ||
        !IsOurs(PartName, Part.Get()))
    {
        OutSentence = Name + " was changed by another program meanwhile: export again.";
        return false;
    }
    if (renameat(Folder.Get(), PartName.c_str(), Folder.Get(), Name.c_str()) != 0)
    {
        OutSentence = CanNotBeWritten(Name, errno);
        return false;
    }
    fsync(Folder.Get()); // only now does the rename survive a power cut
    Part.Close();
    Empty.Close();
    return true;
}

// Whether the name still means the descriptor's file.
bool ReservedName::IsOurs(const std::string& FileName, int Fd) const
{
    struct stat named = {};
    struct stat opened = {};
    return fstatat(Folder.Get(), FileName.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           fstat(Fd, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}
