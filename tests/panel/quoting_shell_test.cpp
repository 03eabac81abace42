// Quoting proved on the shell itself: random texts go through sh as quoted words and come back the same.
//
// They go by system(), the road of an export, so the shell is the one that exports meet. Under
// sanitizers there are fewer texts; the shell is not ours to check.

#include "panel/mvclipcontrolpanel.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>

namespace
{
constexpr int TextCount = MOVANE_QUOTED_TEXTS;
constexpr std::uint32_t Seed = 20'240'229;

// Linux takes 128 KiB in one argument, and system() hands the command over in one.
constexpr std::size_t MaxCommandBytes = 100'000;

using Random = std::mt19937;

int NumberBelow(Random& Source, int Bound)
{
    return std::uniform_int_distribution<int>(0, Bound - 1)(Source);
}

// Most are short, as names are; a few are as long as a path may be.
std::size_t RandomLength(Random& Source)
{
    constexpr int MaxBytes = 4096;
    const int kind = NumberBelow(Source, 1000);
    const int bound = kind < 900 ? 17 : kind < 995 ? 257 : MaxBytes + 1;
    return static_cast<std::size_t>(NumberBelow(Source, bound));
}

// Every byte but NUL, one half of them such that the shell knows by a meaning.
std::string RandomText(Random& Source)
{
    const std::string special = "'\"\\$`!*?[]{}()<>|&;#~=% \t\n\r-\x01\x7f\x80\x81\x88\xff";
    std::string text(RandomLength(Source), ' ');
    for (char& byte : text)
    {
        const bool bSpecial = NumberBelow(Source, 2) == 0;
        byte = bSpecial ? special[static_cast<std::size_t>(
                              NumberBelow(Source, static_cast<int>(special.size())))]
                        : static_cast<char>(1 + NumberBelow(Source, 255));
    }
    return text;
}

std::string Contents(const std::filesystem::path& File)
{
    std::ifstream file(File, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Texts that wait to go through the shell in one command, which prints each with a NUL behind it.
class Batch
{
public:
    bool HasRoomFor(const std::string& Word) const
    {
        return Command.size() + Word.size() < MaxCommandBytes;
    }

    void Add(const std::string& Text, const std::string& Word)
    {
        Command += ' ' + Word;
        Expected += Text;
        Expected += '\0';
    }

    void Run()
    {
        const std::filesystem::path output = Folder.Path() / "it's here";
        Command += " > " + MvClipControlPanel::ShellQuote(output.native());
        ASSERT_EQ(std::system(Command.c_str()), 0);
        ASSERT_TRUE(Contents(output) == Expected) << Command;
        Command = Printer;
        Expected.clear();
    }

private:
    static constexpr const char* Printer = "printf '%s\\0'";

    TempFolder Folder;
    std::string Command = Printer;
    std::string Expected;
};

TEST(QuotingShell, GivesBackEveryText)
{
    std::cout << TextCount << " texts, seed " << Seed << std::endl;
    Random source(Seed); // NOLINT(cert-msc51-cpp): the same texts each time
    Batch batch;
    for (int i = 0; i < TextCount; ++i)
    {
        const std::string text = RandomText(source);
        const std::string word = MvClipControlPanel::ShellQuote(text);
        if (!batch.HasRoomFor(word))
        {
            ASSERT_NO_FATAL_FAILURE(batch.Run());
        }
        batch.Add(text, word);
    }
    batch.Run();
}
} // namespace
