// The platform calls of an export under the test's eye: system, access, and the status of files.
//
// A test program that links fakeplatform.cpp with the linker's --wrap for access and system sees them
// here. With nothing set they do what they always do.

#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct FakePlatform
{
    /// Every command given to system, in order.
    std::vector<std::string> Commands;
    /// When set, system runs nothing and returns this...
    std::optional<int> SystemResult;
    /// ...after calling this, which stands for the program.
    std::function<void()> InPlaceOfCommand;

    /// Executable files that are there for the program alone.
    std::set<std::string> PretendedFiles;
    /// Files that are not there for the program.
    std::set<std::string> HiddenFiles;
    /// Paths whose status was asked for and that end in WatchedEnding, in order.
    std::vector<std::string> AskedPaths;
    std::string WatchedEnding = "/ffmpeg";
};

/// The platform of the test that runs; made new by ResetPlatform.
FakePlatform& Platform();
void ResetPlatform();
