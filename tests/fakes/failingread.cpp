#include "fakes/failingread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

namespace
{
std::atomic<const FailingRead*> pArmed{nullptr};

bool IsMeant(const FailingRead& Failure, int Fd)
{
    std::error_code ec;
    const std::filesystem::path file =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(Fd), ec);
    return file.native().find(Failure.PathPart) != std::string::npos;
}

using ReadFunction = ssize_t (*)(int, void*, std::size_t);

// By this name in the linker's table: the header's own may be an inline function with checks.
extern "C" ssize_t ReadOrFail(int Fd, void* pBuffer, std::size_t SizeBytes) __asm__("read");

extern "C" ssize_t ReadOrFail(int Fd, void* pBuffer, std::size_t SizeBytes)
{
    static const auto systemRead = reinterpret_cast<ReadFunction>(dlsym(RTLD_NEXT, "read"));
    const FailingRead* const pFailure = pArmed.load();
    if (pFailure == nullptr || !IsMeant(*pFailure, Fd))
    {
        return systemRead(Fd, pBuffer, SizeBytes);
    }
    const off_t leftBytes = pFailure->FromByte - lseek(Fd, 0, SEEK_CUR);
    if (leftBytes <= 0)
    {
        errno = pFailure->Error;
        return -1;
    }
    return systemRead(Fd, pBuffer, std::min(SizeBytes, static_cast<std::size_t>(leftBytes)));
}
} // namespace

FailingRead::FailingRead(std::string NewPathPart, off_t NewFromByte, int NewError)
    : PathPart(std::move(NewPathPart))
    , FromByte(NewFromByte)
    , Error(NewError)
{
    pArmed = this;
}

FailingRead::~FailingRead()
{
    pArmed = nullptr;
}
