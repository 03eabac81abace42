#pragma once

#include <string>

class AppPaths
{
public:
    static std::string RuntimeDir();
    static std::string RecordingsDir();
    static void SetDefaultVideoFile(const std::string& Path);
};
