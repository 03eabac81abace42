#include "base/oneline.h"

#include <gtest/gtest.h>

namespace
{
TEST(OneLine, KeepsAllButControlCharacters)
{
    EXPECT_EQ(OneLine(""), "");
    EXPECT_EQ(OneLine("a b~\xC3\xA4\xC2\xA0"), "a b~\xC3\xA4\xC2\xA0");
    EXPECT_EQ(OneLine("a\nb\r\tc\x1B[31m\x7F"), "a?b??c?[31m?");
    EXPECT_EQ(OneLine(std::string("a\0b", 3)), "a?b");
}

TEST(OneLine, TakesTheControlCharactersOfTheSecondBlockToo)
{
    EXPECT_EQ(OneLine("\xC2\x80|\xC2\x9F|\xC2\xA0"), "?|?|\xC2\xA0");
    EXPECT_EQ(OneLine("\xC2"), "\xC2");
}
} // namespace
