#include "base/oneline.h"

#include <algorithm>
#include <cstddef>

std::string OneLine(std::string Text)
{
    const auto isControl = [](char Character)
    { return (Character >= 0 && Character < 0x20) || Character == 0x7F; };
    std::replace_if(Text.begin(), Text.end(), isControl, '?');
    // U+0080 to U+009F in UTF-8: some terminals take them for control characters, too.
    for (std::size_t at = Text.find('\xC2'); at != std::string::npos;
         at = Text.find('\xC2', at + 1))
    {
        if (at + 1 < Text.size() && static_cast<unsigned char>(Text[at + 1] - 0x80) < 0x20)
        {
            Text.replace(at, 2, "?");
        }
    }
    return Text;
}
