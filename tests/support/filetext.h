// Whole files as texts, for tests.

#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// Writes a file, making the folders above it. False when it could not be written.
inline bool WriteFile(const std::filesystem::path& Path, const std::string& Text)
{
    std::filesystem::create_directories(Path.parent_path());
    std::ofstream file(Path, std::ios::binary);
    return !(file << Text).flush().fail();
}

/// The file's text, empty when it can't be read.
inline std::string ReadFile(const std::filesystem::path& Path)
{
    std::ifstream file(Path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
