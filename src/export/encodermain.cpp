// movane-encoder: the program that an export calls instead of ffmpeg. It runs an export itself; for any other
// arguments it becomes ffmpeg (exec).

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
// Opens descriptors 0 to 2 if they are closed, so that no file gets their numbers.
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
    TakeFromEnvironment("MOVANE_FFMPEG_BIN"); // which names this program
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
