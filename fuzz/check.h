// A property that holds for every input: where it does not, the program ends with what was promised.

#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

/// The place is the caller's: std::source_location is more than clang 14 knows.
inline void Check(bool bHolds,
                  std::string_view What,
                  const char* FileName = __builtin_FILE(),
                  int Line = __builtin_LINE())
{
    if (!bHolds)
    {
        std::fprintf(stderr, "%s:%d: does not hold: %.*s\n", FileName, Line,
                     static_cast<int>(What.size()), What.data());
        std::abort();
    }
}
