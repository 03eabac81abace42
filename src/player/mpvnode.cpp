#include "player/mpvnode.h"

#include <cmath>
#include <cstring>

namespace
{
const mpv_node* Find(const mpv_node& Map, std::string_view Key)
{
    if (Map.format != MPV_FORMAT_NODE_MAP)
    {
        return nullptr;
    }
    for (int i = 0; i < Map.u.list->num; ++i)
    {
        if (Map.u.list->keys[i] == Key)
        {
            return &Map.u.list->values[i];
        }
    }
    return nullptr;
}
} // namespace

std::int64_t SecondsAsUs(const mpv_node& Seconds)
{
    return Seconds.format == MPV_FORMAT_DOUBLE ? std::llround(Seconds.u.double_ * 1e6) : 0;
}

bool IsTrue(const mpv_node& Flag)
{
    return Flag.format == MPV_FORMAT_FLAG && Flag.u.flag != 0;
}

bool FlagOf(const mpv_node& Map, std::string_view Key)
{
    const mpv_node* pValue = Find(Map, Key);
    return pValue != nullptr && IsTrue(*pValue);
}

std::int64_t IntOf(const mpv_node& Map, std::string_view Key)
{
    const mpv_node* pValue = Find(Map, Key);
    return pValue != nullptr && pValue->format == MPV_FORMAT_INT64 ? pValue->u.int64 : 0;
}

double DoubleOf(const mpv_node& Map, std::string_view Key)
{
    const mpv_node* pValue = Find(Map, Key);
    return pValue != nullptr && pValue->format == MPV_FORMAT_DOUBLE ? pValue->u.double_ : 0.0;
}

bool IsVideoTrack(const mpv_node& Track)
{
    const mpv_node* pType = Find(Track, "type");
    return pType != nullptr && pType->format == MPV_FORMAT_STRING &&
           std::strcmp(pType->u.string, "video") == 0 && !FlagOf(Track, "albumart");
}
