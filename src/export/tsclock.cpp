#include "export/tsclock.h"

#include "base/uniquefd.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// ffmpeg treats a step of more than 10 s as a jump (its option -dts_delta_threshold). Shorter steps here leave less
// room for a hidden jump back.
constexpr std::int64_t TicksASecond = 90'000;
constexpr std::int64_t MaxStep = 4 * TicksASecond;
constexpr std::int64_t WholeTurn = std::int64_t{1} << 33U; // the clock has 33 bits

// ISO 13818-1 requires a clock at least ten times a second; this many bytes hold more than one at any bit rate.
constexpr std::size_t MaxLookBytes = 4'000'000;
constexpr std::size_t FirstLookBytes = 16'384;

constexpr std::uint8_t SyncByte = 0x47;
constexpr std::size_t PacketBytes = 188;

struct Clock
{
    std::int64_t At = 0; // byte of the packet
    std::int64_t Ticks = 0;
};

// The clock's advance, negative if it went back. The clock may have wrapped around.
std::int64_t Advance(const Clock& From, const Clock& To)
{
    const std::int64_t ticks = (To.Ticks - From.Ticks + WholeTurn) % WholeTurn;
    return ticks > WholeTurn / 2 ? ticks - WholeTurn : ticks;
}

class TsClock
{
public:
    explicit TsClock(const std::string& Path)
        : File(open(Path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat status = {};
        SizeBytes = File.IsOpen() && fstat(File.Get(), &status) == 0 ? status.st_size : 0;
    }

    bool IsSteady()
    {
        const std::optional<Clock> first = Next(0, SizeBytes);
        std::optional<Clock> last;
        for (std::int64_t back = 65'536; first.has_value() && !last.has_value(); back *= 4)
        {
            const std::int64_t from = std::max<std::int64_t>(SizeBytes - back, 0);
            last = Next(from, SizeBytes);
            if (from == 0)
            {
                break;
            }
        }
        return last.has_value() && IsSteady(*first, *last);
    }

private:
    // Halves the interval until each step is short enough.
    bool IsSteady(const Clock& From, const Clock& To)
    {
        const std::int64_t ticks = Advance(From, To);
        if (ticks < 0 || To.At <= From.At)
        {
            return ticks == 0;
        }
        if (ticks <= MaxStep)
        {
            return true;
        }
        const std::int64_t middle = From.At + (To.At - From.At) / 2;
        std::optional<Clock> between = Next(middle, To.At);
        if (!between.has_value())
        {
            between = Next(From.At + 1, middle);
        }
        return between.has_value() && IsSteady(From, *between) && IsSteady(*between, To);
    }

    // The first clock in a range of bytes.
    std::optional<Clock> Next(std::int64_t From, std::int64_t To)
    {
        for (std::size_t want = FirstLookBytes; want <= MaxLookBytes; want *= 4)
        {
            Bytes.resize(static_cast<std::size_t>(
                std::min<std::int64_t>(static_cast<std::int64_t>(want), To - From)));
            const ssize_t size = pread(File.Get(), Bytes.data(), Bytes.size(), From);
            Bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
            if (const std::optional<Clock> clock = FirstIn(From); clock.has_value())
            {
                return clock;
            }
            if (From + static_cast<std::int64_t>(want) >= To)
            {
                break;
            }
        }
        return std::nullopt;
    }

    std::optional<Clock> FirstIn(std::int64_t From)
    {
        // Blu-ray and cameras put four bytes before each packet.
        for (const std::size_t stride : {PacketBytes, PacketBytes + 4})
        {
            for (std::size_t at = Synced(stride); at + 12 <= Bytes.size(); at += stride)
            {
                if (const std::optional<std::int64_t> ticks = ClockOf(&Bytes[at]);
                    ticks.has_value())
                {
                    return Clock{From + static_cast<std::int64_t>(at), *ticks};
                }
            }
        }
        return std::nullopt;
    }

    // Where packets begin; the end of the data if there are none.
    std::size_t Synced(std::size_t Stride) const
    {
        constexpr std::size_t Packets = 4;
        for (std::size_t at = 0; at < Stride && at + Stride * Packets < Bytes.size(); ++at)
        {
            bool bSynced = true;
            for (std::size_t i = 0; i <= Packets; ++i)
            {
                bSynced = bSynced && Bytes[at + i * Stride] == SyncByte;
            }
            if (bSynced)
            {
                return at;
            }
        }
        return Bytes.size();
    }

    // The packet's clock, only of the program whose clock came first (ISO 13818-1, 2.4.3.5).
    std::optional<std::int64_t> ClockOf(const std::uint8_t* pPacket)
    {
        const bool bClock = pPacket[0] == SyncByte && (pPacket[3] & 0x20U) != 0 &&
                            pPacket[4] >= 7 && (pPacket[5] & 0x10U) != 0;
        const int program = (pPacket[1] & 0x1F) << 8 | pPacket[2];
        if (!bClock || (Program.has_value() && *Program != program))
        {
            return std::nullopt;
        }
        Program = program;
        std::int64_t ticks = 0;
        for (int i = 6; i < 10; ++i)
        {
            ticks = ticks << 8 | pPacket[i];
        }
        return ticks << 1 | pPacket[10] >> 7;
    }

    UniqueFd File;
    std::int64_t SizeBytes = 0;
    std::optional<int> Program;
    std::vector<std::uint8_t> Bytes;
};
} // namespace

bool HasSteadyTsClock(const std::string& Path)
{
    return TsClock(Path).IsSteady();
}
