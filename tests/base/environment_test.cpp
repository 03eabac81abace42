#include "base/environment.h"

#include "support/environmentguard.h"

#include <gtest/gtest.h>

namespace
{
constexpr const char* Name = "MOVANE_TEST_VARIABLE";

TEST(EnvironmentValue, IsEmptyForAnUnsetAndForAnEmptyVariable)
{
    {
        const EnvironmentGuard guard(Name);
        EXPECT_EQ(EnvironmentValue(Name), "");
    }
    const EnvironmentGuard guard(Name, "");
    EXPECT_EQ(EnvironmentValue(Name), "");
}

TEST(EnvironmentValue, GivesTheValueAsItIs)
{
    for (const char* value : {"a", " a ", "relative/path", "/absolute", "a=b", "\xff"})
    {
        const EnvironmentGuard guard(Name, value);
        EXPECT_EQ(EnvironmentValue(Name), value);
    }
}

TEST(AbsolutePathFromEnvironment, GivesAnAbsolutePathAsItIs)
{
    for (const char* value : {"/", "/a", "/a/", "/a b/../c", "//a"})
    {
        const EnvironmentGuard guard(Name, value);
        EXPECT_EQ(AbsolutePathFromEnvironment(Name), value);
    }
}

TEST(AbsolutePathFromEnvironment, IgnoresEverythingElse)
{
    {
        const EnvironmentGuard guard(Name);
        EXPECT_EQ(AbsolutePathFromEnvironment(Name), "");
    }
    for (const char* value : {"", "a", "./a", "../a", "~", "~/a", " /a", "file:///a"})
    {
        const EnvironmentGuard guard(Name, value);
        EXPECT_EQ(AbsolutePathFromEnvironment(Name), "") << value;
    }
}
} // namespace
