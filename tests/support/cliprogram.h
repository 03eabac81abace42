// The program in a folder of its own, for tests that run it as a child: its recordings, its runtime folder
// and its encoder are the test's.

#pragma once

#include "support/fakeffmpeg.h"
#include "support/filetext.h"
#include "support/programrun.h"
#include "support/samplevideo.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <linux/capability.h>
#include <sys/prctl.h>

namespace fs = std::filesystem;

inline std::vector<std::string> LinesOf(const std::string& Text)
{
    std::vector<std::string> lines;
    std::istringstream stream(Text);
    for (std::string line; std::getline(stream, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

/// Empty for a folder that is not there.
inline std::set<std::string> NamesIn(const fs::path& Folder)
{
    std::set<std::string> names;
    std::error_code ec;
    for (const fs::directory_entry& entry : fs::directory_iterator(Folder, ec))
    {
        names.insert(entry.path().filename().native());
    }
    return names;
}

/// For BeforeStart: root reads and writes everything; without these two capabilities it is a user like any
/// other.
inline void GiveUpRootsAccess()
{
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

class CliProgram : public testing::Test
{
protected:
    CliProgram()
    {
        for (const fs::path& folder : {Work, Folder.Path() / "output", RuntimeBase, FakeFolder})
        {
            fs::create_directory(folder);
        }
        fs::permissions(RuntimeBase, fs::perms::owner_all);
        Setup.Program = MOVANE_PROGRAM;
        Setup.WorkingFolder = Work;
        Setup.OutputFolder = Folder.Path() / "output";
        Setup.Environment = {{"HOME", (Folder.Path() / "home").native()},
                             {"PATH", "/usr/bin:/bin"},
                             {"XDG_RUNTIME_DIR", RuntimeBase.native()},
                             {"MOVANE_RECORDINGS_DIR", Recordings.native()}};
        for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        {
            if (const char* value = std::getenv(name); value != nullptr)
            {
                Setup.Environment[name] = value;
            }
        }
    }

    /// Every run ends with nothing left behind, however it ends.
    void ExpectNothingLeft() const
    {
        EXPECT_THAT(ProgramRun::LeftChildren(), testing::IsEmpty());
        EXPECT_THAT(NamesIn(RuntimeBase), testing::IsEmpty());
    }

    ProgramRun::End Run(const std::vector<std::string>& Arguments)
    {
        Setup.Arguments = Arguments;
        ProgramRun::End end = ProgramRun(Setup).Finish();
        ExpectNothingLeft();
        return end;
    }

    /// Runs "export" on the sample with further arguments.
    ProgramRun::End Export(std::vector<std::string> Arguments)
    {
        Arguments.insert(Arguments.begin(), {"export", SampleVideo()});
        return Run(Arguments);
    }

    /// Puts a fake in ffmpeg's place for the runs that follow.
    FakeFfmpeg UseFake(const std::string& OutputCommand = "")
    {
        FakeFfmpeg::Behaviour how;
        how.OutputCommand = OutputCommand;
        FakeFfmpeg fake(FakeFolder, how);
        Setup.Environment["MOVANE_FFMPEG_BIN"] = fake.Path();
        return fake;
    }

    void ExpectRefusal(const std::vector<std::string>& Arguments, const std::string& Sentence)
    {
        const ProgramRun::End end = Run(Arguments);
        EXPECT_EQ(end.ExitCode, 2) << Sentence;
        EXPECT_EQ(end.Out, "");
        EXPECT_EQ(end.Err, "movane: " + Sentence + "\n");
        EXPECT_FALSE(fs::exists(Recordings)) << Sentence;
    }

    TempFolder Folder;
    const fs::path Work = Folder.Path() / "work"; ///< where the program is run
    const fs::path Recordings = Folder.Path() / "rec";
    const fs::path Clips = Recordings / "clips";
    const fs::path RuntimeBase = Folder.Path() / "run";
    const fs::path FakeFolder = Folder.Path() / "fake";
    ProgramRun::Setup Setup;
};
