// The encoder front in a folder of its own, for tests that run it as a child in an application's place.

#pragma once

#include "export/ffmpegsearch.h"
#include "support/filetext.h"
#include "support/programrun.h"
#include "support/samplevideo.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <sched.h>

namespace fs = std::filesystem;

class EncoderProgram : public testing::Test
{
protected:
    // With several threads libx264 writes other bytes about once in a hundred times, whoever calls it;
    // with one processor it has one thread. What the test starts inherits it.
    static void StayOnOneProcessor()
    {
        cpu_set_t processors;
        CPU_ZERO(&processors);
        CPU_SET(sched_getcpu(), &processors);
        sched_setaffinity(0, sizeof(processors), &processors);
    }

    EncoderProgram()
    {
        StayOnOneProcessor();
        for (const fs::path& folder : {Work, Clips, Folder.Path() / "output"})
        {
            fs::create_directory(folder);
        }
        Setup.Program = MOVANE_ENCODER;
        Setup.WorkingFolder = Work;
        Setup.OutputFolder = Folder.Path() / "output";
        Setup.Environment = {{"PATH", Path}, {"HOME", Work.native()}};
        for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        {
            if (const char* value = std::getenv(name); value != nullptr)
            {
                Setup.Environment[name] = value;
            }
        }
    }
    ~EncoderProgram() override
    {
        EXPECT_TRUE(WaitFor([] { return ProgramRun::LeftChildren().empty(); }))
            << testing::PrintToString(ProgramRun::LeftChildren());
    }

    /// The arguments of an export, word by word as the panel gives them.
    static std::vector<std::string> ExportArguments(const std::string& Source,
                                                    const std::string& In,
                                                    const std::string& Length,
                                                    const std::string& Output)
    {
        return {"-y",      "-hide_banner", "-loglevel", "error",    "-i",     Source, "-ss",
                In,        "-t",           Length,      "-map",     "0:v:0?", "-map", "0:a?",
                "-c:v",    "libx264",      "-preset",   "veryfast", "-crf",   "18",   "-pix_fmt",
                "yuv420p", "-c:a",         "copy",      Output};
    }

    std::unique_ptr<ProgramRun> Start(const std::vector<std::string>& Arguments)
    {
        Setup.Arguments = Arguments;
        return std::make_unique<ProgramRun>(Setup);
    }

    ProgramRun::End Run(const std::vector<std::string>& Arguments)
    {
        return Start(Arguments)->Finish();
    }

    ProgramRun::End Export(const std::string& Source,
                           const std::string& In,
                           const std::string& Length,
                           const std::string& Name = "clip_00000_A.mkv")
    {
        return Run(ExportArguments(Source, In, Length, Output(Name)));
    }

    std::string Output(const std::string& Name = "clip_00000_A.mkv") const
    {
        return (Clips / Name).native();
    }

    std::set<std::string> ClipNames() const
    {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(Clips))
        {
            names.insert(entry.path().filename().native());
        }
        return names;
    }

    /// From here on the front finds a shell script in ffmpeg's place. $real is the real one.
    void FfmpegIs(const std::string& Script)
    {
        const fs::path program = Folder.Path() / "programs/ffmpeg";
        WriteFile(program, "#!/bin/sh\nreal='" + FindFfmpeg(Path) + "'\n" + Script + '\n');
        fs::permissions(program, fs::perms::owner_all);
        Setup.Environment["PATH"] = program.parent_path().native() + ':' + Path;
    }

    /// From here on the arguments of each ffmpeg are written down before it runs.
    void FfmpegTellsItsArguments()
    {
        FfmpegIs("printf '%s\\n' \"$@\" >'" + ArgumentsFile().native() + "'\nexec $real \"$@\"");
    }
    fs::path ArgumentsFile() const { return Folder.Path() / "arguments"; }

    std::string Path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe)
    TempFolder Folder;
    fs::path Work = Folder.Path() / "work";
    fs::path Clips = Folder.Path() / "clips";
    ProgramRun::Setup Setup;
};
