// Which file the running export writes, for whoever follows or stops it.

#pragma once

#include <filesystem>
#include <string>

/// Returns the full path of the file of an export that has just started, read from the panel's status
/// text "Exporting NAME to FILE..."; an empty path for any other text.
///
/// The panel chooses the name itself and tells it nowhere else. FILE holds no blank, so the last " to "
/// is the right one, whatever the clip's name holds.
std::filesystem::path ExportTarget(const std::string& StatusText);
