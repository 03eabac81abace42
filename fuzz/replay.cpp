// Runs every file of the given folders through one fuzz target: replay_NAME FOLDER …
//
// So the inputs that are kept are tried with every compiler and sanitizer, without a fuzzer. A folder
// without files is a fault: it would be a test that tries nothing.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size);

namespace
{
namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& Folder)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(Folder))
    {
        if (entry.is_regular_file())
        {
            files.push_back(entry.path());
        }
    }
    if (files.empty())
    {
        throw std::runtime_error("there is no file in " + Folder.native());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void Replay(const fs::path& Path)
{
    std::ifstream file(Path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("can't read " + Path.native());
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::cout << Path.native() << std::endl; // before it is tried, should it crash
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}
} // namespace

int main(int ArgumentCount, char** Arguments)
try
{
    const std::vector<std::string> folders(Arguments + 1, Arguments + ArgumentCount);
    if (folders.empty())
    {
        throw std::runtime_error("which folder?");
    }
    for (const std::string& folder : folders)
    {
        for (const fs::path& file : FilesOf(folder))
        {
            Replay(file);
        }
    }
    return 0;
}
catch (const std::exception& fault)
{
    std::cerr << fault.what() << '\n';
    return 1;
}
