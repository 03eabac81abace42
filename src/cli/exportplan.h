// What an export would do, without touching anything.
//
// Repeats the panel's rules where the panel would write files. Keep both in step.

#pragma once

#include "panel/mvclipcontrolpanel.h"

#include <filesystem>
#include <set>
#include <string>

/// The file of a clip of that name, with the first number that no file in the clips folder and none of Planned has;
/// empty when all are taken.
std::filesystem::path PlannedFile(const std::string& ClipName,
                                  const std::set<std::string>& Planned);

/// Why the panel would refuse the clip; empty if it would not.
std::string PlanProblem(const MvClipControlPanel::SavedClip& Clip,
                        const std::filesystem::path& File,
                        const std::string& Ffmpeg);

/// The shell command that exports the clip.
std::string PlannedCommand(const MvClipControlPanel::SavedClip& Clip,
                           const std::filesystem::path& File,
                           const std::string& Ffmpeg);
