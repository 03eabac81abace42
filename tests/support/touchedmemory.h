// Whether memory is read or written: for a rule that something is left alone, which no clock can prove.
//
// The pages of a list are made inaccessible; the first access to them is counted and makes them accessible
// again. One object at a time, on one thread.

#pragma once

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

class TouchedMemory
{
public:
    TouchedMemory()
    {
        struct sigaction action = {};
        action.sa_sigaction = &TouchedMemory::TakeFault;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, &EarlierAction());
        Count() = 0;
        BlockCount() = 0;
    }
    ~TouchedMemory()
    {
        for (std::size_t i = 0; i < BlockCount(); ++i)
        {
            GiveBack(Blocks()[i]);
        }
        sigaction(SIGSEGV, &EarlierAction(), nullptr);
    }
    TouchedMemory(const TouchedMemory&) = delete;
    TouchedMemory& operator=(const TouchedMemory&) = delete;

    /// Watches what Items holds but its ends, which share their pages with other things. False where
    /// nothing is left, or where four blocks are watched already.
    template <typename List> bool Watch(const List& Items)
    {
        const auto pageBytes = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const auto begin = reinterpret_cast<std::uintptr_t>(Items.data());
        const auto end = begin + static_cast<std::size_t>(Items.size()) * sizeof(Items.data()[0]);
        const std::uintptr_t first = (begin + pageBytes - 1) / pageBytes * pageBytes;
        const std::uintptr_t last = end / pageBytes * pageBytes;
        if (last <= first || BlockCount() == Blocks().size())
        {
            return false;
        }
        Block& block = Blocks()[BlockCount()++];
        block = {first, last};
        return mprotect(block.Pages(), block.SizeBytes(), PROT_NONE) == 0;
    }

    /// How many of the watched lists have been touched.
    int TouchedCount() const { return Count(); }

private:
    struct Block
    {
        std::uintptr_t Begin = 0;
        std::uintptr_t End = 0;

        // NOLINTNEXTLINE(performance-no-int-to-ptr): rounded to a page, which no pointer arithmetic does
        void* Pages() const { return reinterpret_cast<void*>(Begin); }
        std::size_t SizeBytes() const { return End - Begin; }
    };

    static void GiveBack(const Block& Lost)
    {
        mprotect(Lost.Pages(), Lost.SizeBytes(), PROT_READ | PROT_WRITE);
    }

    static void TakeFault(int, siginfo_t* pInfo, void*)
    {
        const auto place = reinterpret_cast<std::uintptr_t>(pInfo->si_addr);
        for (std::size_t i = 0; i < BlockCount(); ++i)
        {
            if (place >= Blocks()[i].Begin && place < Blocks()[i].End)
            {
                ++Count();
                GiveBack(Blocks()[i]);
                return;
            }
        }
        sigaction(SIGSEGV, &EarlierAction(), nullptr); // a fault of its own: it comes again
    }

    // A signal handler gets no argument of ours.
    static std::array<Block, 4>& Blocks()
    {
        static std::array<Block, 4> blocks;
        return blocks;
    }
    static std::size_t& BlockCount()
    {
        static std::size_t count = 0;
        return count;
    }
    static int& Count()
    {
        static int count = 0;
        return count;
    }
    static struct sigaction& EarlierAction()
    {
        static struct sigaction action;
        return action;
    }
};
