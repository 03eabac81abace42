#pragma once

#include <cstdint>
#include <string>

struct MvMediaInfo
{
    std::int64_t DurationUs = 0;
};

class MvVideo
{
public:
    void Seek(int Request);

    std::string FilePath;
    MvMediaInfo* pMediaInfo = nullptr;
    std::int64_t SeekTargetUs = 0;
};
