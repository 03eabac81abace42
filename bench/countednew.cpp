#include "countednew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<std::size_t> Count{0};
} // namespace

std::size_t AllocationCount()
{
    return Count.load(std::memory_order_relaxed);
}

// The array and nothrow forms of the library come here as well.
void* operator new(std::size_t Size)
{
    Count.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(Size == 0 ? 1 : Size))
    {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*Size*/) noexcept
{
    std::free(pMemory);
}
