#include "process/processsetup.h"

#include "base/environment.h"
#include "base/log.h"
#include "base/oneline.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace
{
extern "C" void DoNothing(int /*Number*/) {}
} // namespace

void KeepDecimalPoint()
{
    std::setlocale(LC_NUMERIC, "C"); // NOLINT(concurrency-mt-unsafe): before any thread
}

void OpenMissingStandardStreams()
{
    int opened = open("/dev/null", O_RDWR);
    while (opened >= 0 && opened <= STDERR_FILENO)
    {
        opened = open("/dev/null", O_RDWR);
    }
    if (opened >= 0)
    {
        close(opened);
    }
}

void SurviveBrokenPipes()
{
    struct sigaction action = {};
    action.sa_handler = DoNothing;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

void LearnHowChildrenEnd()
{
    std::signal(SIGCHLD, SIG_DFL);
}

void SetMissingPath()
{
    if (EnvironmentValue("PATH").empty())
    {
        std::string path(confstr(_CS_PATH, nullptr, 0), '\0');
        confstr(_CS_PATH, path.data(), path.size());
        setenv("PATH", path.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    }
}

void PointStandardInputAtNull()
{
    const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    close(null);
}

void KeepFewHeaps()
{
    mallopt(M_ARENA_MAX, 2); // NOLINT(concurrency-mt-unsafe): before any thread
}

void LogToStandardError()
{
    const auto logger = std::make_shared<spdlog::logger>(
        "movane", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    logger->set_pattern("%n: %v");
    SetLogSink([logger](const std::string& Line) { logger->error(OneLine(Line)); });
}
