#include "support/failingnew.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<long long> liveBlocks{0};

thread_local long long untilFailure = 0; // 0: nothing fails
thread_local bool bForever = false;
thread_local bool bFailed = false;

void FailInTurn()
{
    if (untilFailure == 0)
    {
        return;
    }
    if (--untilFailure == 0)
    {
        untilFailure = bForever ? 1 : 0;
        bFailed = true;
        throw std::bad_alloc();
    }
}

void* Count(void* Block)
{
    if (Block == nullptr)
    {
        throw std::bad_alloc();
    }
    ++liveBlocks;
    return Block;
}

void Free(void* Block)
{
    if (Block != nullptr)
    {
        --liveBlocks;
        std::free(Block);
    }
}
} // namespace

void FailingNew::Arm(long long Number, Extent Failing)
{
    untilFailure = Number;
    bForever = Failing == Extent::Forever;
    bFailed = false;
}

bool FailingNew::Disarm()
{
    untilFailure = 0;
    return bFailed;
}

long long FailingNew::LiveBlocks()
{
    return liveBlocks.load();
}

// The library's other forms of new and delete call these.

void* operator new(std::size_t Size)
{
    FailInTurn();
    return Count(std::malloc(Size == 0 ? 1 : Size));
}

void* operator new(std::size_t Size, std::align_val_t Alignment)
{
    FailInTurn();
    const auto alignment = static_cast<std::size_t>(Alignment);
    return Count(std::aligned_alloc(alignment, (Size + alignment - 1) / alignment * alignment));
}

void operator delete(void* Block) noexcept
{
    Free(Block);
}

void operator delete(void* Block, std::size_t /*Size*/) noexcept
{
    Free(Block);
}

void operator delete(void* Block, std::align_val_t /*Alignment*/) noexcept
{
    Free(Block);
}

void operator delete(void* Block, std::size_t /*Size*/, std::align_val_t /*Alignment*/) noexcept
{
    Free(Block);
}
