// The names of exported files.

#include "panel/panelfixture.h"

using ::testing::ElementsAre;

namespace
{
class ExportPath : public PanelTest
{
protected:
    std::filesystem::path Clips() const { return Folder.Path() / "recordings" / "clips"; }

    /// Makes empty files in the clips folder.
    void Occupy(const std::vector<std::string>& Names) const
    {
        std::filesystem::create_directories(Clips());
        for (const std::string& name : Names)
        {
            std::ofstream(Clips() / name).close();
        }
    }

    /// Asks for a name, which must be the last element of the path.
    std::string NameFor(const std::string& ClipName) const
    {
        std::string name = "of the caller";
        const std::filesystem::path path = MvClipControlPanel::BuildClipExportPath(ClipName, name);
        EXPECT_EQ(path, Clips() / name);
        return name;
    }

    static void ExpectNoName(const std::string& ClipName)
    {
        std::string name = "of the caller";
        EXPECT_EQ(MvClipControlPanel::BuildClipExportPath(ClipName, name), std::filesystem::path());
        EXPECT_EQ(name, "");
    }
};
} // namespace

TEST(FileStem, HasARuleForEveryByte)
{
    const std::string kept = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    for (int byte = 0; byte < 256; ++byte)
    {
        const char c = static_cast<char>(byte);
        std::string expected = "ab";
        if (kept.find(c) != std::string::npos)
        {
            expected.insert(1, 1, c);
        }
        else if (c == ' ' || c == '.')
        {
            expected.insert(1, 1, '_');
        }
        EXPECT_EQ(MvClipControlPanel::SanitizeFileStem(std::string("a") + c + "b"), expected)
            << byte;
    }
}

TEST(FileStem, IsWhatTheExamplesSay)
{
    struct Case
    {
        std::string Text;
        std::string Stem;
    };
    const std::vector<Case> cases = {
        {"Scene 1 - take 2", "Scene_1_-_take_2"},
        {"My Clip.final", "My_Clip_final"},
        {"  intro", "__intro"},
        {"..intro", "__intro"},
        {"intro  ", "intro"},
        {"intro._ .", "intro"},
        {"intro_\t", "intro"},
        {"a  b", "a__b"},
        {"a/b:c", "abc"},
        {"../../etc", "____etc"},
        {"a\tb\nc", "abc"},
        {"\xC3\xA9t\xC3\xA9", "t"},
        {"\xC3\xA9\xC3\xA8", "clip"},
        {"", "clip"},
        {"...", "clip"},
        {"___", "clip"},
        {"   ", "clip"},
        {"!?*", "clip"},
        {"-", "-"},
        {"_-_", "_-"},
        {std::string("a\0b", 3), "ab"},
        {std::string(1000, 'x'), std::string(1000, 'x')},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(MvClipControlPanel::SanitizeFileStem(c.Text), c.Stem) << c.Text;
    }
}

TEST_F(ExportPath, MakesTheClipsFolderWithItsParents)
{
    EXPECT_FALSE(std::filesystem::exists(Folder.Path() / "recordings"));
    EXPECT_EQ(NameFor("Scene 1"), "clip_00000_Scene_1.mkv");
    EXPECT_TRUE(std::filesystem::is_directory(Clips()));
    EXPECT_THAT(Log(), ElementsAre("RecordingsDir()"));
}

TEST_F(ExportPath, WritesNothing)
{
    EXPECT_EQ(NameFor("X"), "clip_00000_X.mkv");
    EXPECT_EQ(NameFor("X"), "clip_00000_X.mkv");
    EXPECT_TRUE(std::filesystem::is_empty(Clips()));
}

TEST_F(ExportPath, TakesTheFirstFreeNumberOfTheStem)
{
    Occupy({"clip_00000_X.mkv", "clip_00002_X.mkv"});
    EXPECT_EQ(NameFor("X"), "clip_00001_X.mkv");
    Occupy({"clip_00001_X.mkv"});
    EXPECT_EQ(NameFor("X"), "clip_00003_X.mkv");
    EXPECT_EQ(NameFor("Y"), "clip_00000_Y.mkv");
    EXPECT_EQ(NameFor("x"), "clip_00000_x.mkv");
}

TEST_F(ExportPath, CountsEntriesOfAnyKindAsTaken)
{
    std::filesystem::create_directories(Clips() / "clip_00000_X.mkv");
    EXPECT_EQ(NameFor("X"), "clip_00001_X.mkv");
}

TEST_F(ExportPath, CountsAnEntryThatCanNotBeAskedForAsFree)
{
    std::filesystem::create_directories(Clips());
    MakeLinkLoop("recordings/clips/clip_00000_X.mkv");
    EXPECT_EQ(NameFor("X"), "clip_00000_X.mkv");
}

TEST_F(ExportPath, EndsAtNumber9999)
{
    // Ten thousand real files would take a slow disk a minute.
    for (int i = 0; i < 9999; ++i)
    {
        std::string number = std::to_string(i);
        number.insert(0, 5 - number.size(), '0');
        Platform().PretendedFiles.insert(Clips() / ("clip_" + number + "_X.mkv"));
    }
    EXPECT_EQ(NameFor("X"), "clip_09999_X.mkv");
    Occupy({"clip_09999_X.mkv"});
    ExpectNoName("X");
}

TEST_F(ExportPath, IsCutTo63Characters)
{
    struct Case
    {
        std::size_t Letters;
        std::string Ending;
    };
    for (const Case& c : std::vector<Case>{{47, ".mkv"},
                                           {48, ".mkv"},
                                           {49, ".mk"},
                                           {50, ".m"},
                                           {51, "."},
                                           {52, ""},
                                           {53, ""},
                                           {60, ""},
                                           {5000, ""}})
    {
        const std::string stem(std::min<std::size_t>(c.Letters, 52), 'x');
        EXPECT_EQ(NameFor(std::string(c.Letters, 'x')), "clip_00000_" + stem + c.Ending);
    }
    EXPECT_EQ(NameFor(std::string(60, 'x')).size(), 63U);
}

TEST_F(ExportPath, NeverTakesTheNameForAFormat)
{
    EXPECT_EQ(NameFor("%d%s%n"), "clip_00000_dsn.mkv");
}

TEST_F(ExportPath, IsNoneWhenAFileStandsInTheFoldersPlace)
{
    MakeFile("recordings/clips");
    ExpectNoName("X");
}

TEST_F(ExportPath, IsNoneWhenAParentCanNotBeMade)
{
    MakeFile("recordings");
    ExpectNoName("X");
}

TEST_F(ExportPath, IsNoneWhenTheFolderCanNotBeAskedFor)
{
    MakeLinkLoop("loop");
    Host().RecordingsDir = Folder.Path() / "loop";
    ExpectNoName("X");
}
