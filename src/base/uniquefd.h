// Owner of one file descriptor.

#pragma once

#include <utility>

#include <unistd.h>

class UniqueFd
{
public:
    UniqueFd() = default;
    /// Takes over Fd; a negative one stands for none.
    explicit UniqueFd(int Fd)
        : Handle(Fd)
    {
    }
    ~UniqueFd() { Close(); }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& Other) noexcept
        : Handle(std::exchange(Other.Handle, -1))
    {
    }
    UniqueFd& operator=(UniqueFd&& Other) noexcept
    {
        std::swap(Handle, Other.Handle);
        return *this;
    }

    int Get() const { return Handle; }
    bool IsOpen() const { return Handle >= 0; }
    void Close()
    {
        if (Handle >= 0)
        {
            close(std::exchange(Handle, -1));
        }
    }

private:
    int Handle = -1;
};
