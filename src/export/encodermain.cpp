// movane-encoder: stands where an export calls ffmpeg. An export's own arguments are carried out here,
// all others by ffmpeg itself, in this process.

#include "export/encoderrun.h"
#include "export/exportmessages.h"
#include "export/ffmpegsearch.h"
#include "export/panelcommand.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace
{
// Descriptors 0 to 2 are open, so that no file takes their place.
void OpenStandardStreams()
{
    while (true)
    {
        const int opened = open("/dev/null", O_RDWR);
        if (opened > STDERR_FILENO || opened < 0)
        {
            close(opened);
            return;
        }
    }
}

std::string TakeFromEnvironment(const char* Name)
{
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    const char* const pValue = std::getenv(Name);
    std::string value = pValue == nullptr ? "" : pValue;
    unsetenv(Name);
    // NOLINTEND(concurrency-mt-unsafe)
    return value;
}

int Run(std::span<char*> Words)
{
    const std::string socketPath = TakeFromEnvironment(ExportSocketVariable);
    TakeFromEnvironment("MOVANE_FFMPEG_BIN"); // it names this program
    const std::string ffmpeg = FindFfmpeg();
    if (ffmpeg.empty())
    {
        std::fprintf(stderr, "%s\n", NoFfmpegSentence);
        return 1;
    }
    if (const auto command = ReadPanelCommand({Words.data() + 1, Words.size() - 1}))
    {
        return RunEncoder(*command, ffmpeg, socketPath);
    }
    std::string program = ffmpeg;
    Words[0] = program.data();
    execvp(program.c_str(), Words.data());
    std::perror(ffmpeg.c_str());
    return 1;
}
} // namespace

int main(int ArgumentCount, char** Arguments)
{
    OpenStandardStreams();
    try
    {
        return ArgumentCount > 0 ? Run({Arguments, static_cast<std::size_t>(ArgumentCount)}) : 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "The export can't go on: %s.\n", error.what());
        return 1;
    }
}
