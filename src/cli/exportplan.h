// What an export would do, found out without touching anything.
//
// The panel's own rules, told a second time where the panel would write: a change there belongs here.

#pragma once

#include "panel/mvclipcontrolpanel.h"

#include <filesystem>
#include <set>
#include <string>

/// The file that a clip of that name would become: of the first number that neither a file in the clips
/// folder has nor one of Planned; empty when all are taken.
std::filesystem::path PlannedFile(const std::string& ClipName,
                                  const std::set<std::string>& Planned);

/// Why the panel would refuse the clip; empty when it would not.
std::string PlanProblem(const MvClipControlPanel::SavedClip& Clip,
                        const std::filesystem::path& File,
                        const std::string& Ffmpeg);

/// The command that makes it, for a shell.
std::string PlannedCommand(const MvClipControlPanel::SavedClip& Clip,
                           const std::filesystem::path& File,
                           const std::string& Ffmpeg);
