// What becomes of a name or a path that a person gives: trimmed, quoted for the shell, made a file
// name, shown as a source's name.

#include "check.h"

#include "panel/contracthost/contracthost.h"
#include "panel/mvclipcontrolpanel.h"
#include "support/tempfolder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace
{
using Panel = MvClipControlPanel;

bool IsWhite(char Character)
{
    return Character == ' ' || Character == '\t' || Character == '\n' || Character == '\r';
}

std::string Trimmed(std::string Text)
{
    while (!Text.empty() && IsWhite(Text.back()))
    {
        Text.pop_back();
    }
    Text.erase(Text.begin(), std::find_if_not(Text.begin(), Text.end(), IsWhite));
    return Text;
}

// The name that a clip gets from the name input: trimming is a step of this action.
std::string Renamed(const std::string& InputText)
{
    MvTable table;
    table.SelectedRow = 0;
    MvTextInput input;
    input.Text = InputText;
    Panel panel;
    panel.pClipTable = &table;
    panel.pNameInput = &input;
    panel.Clips.emplace_back().Name = "before";
    panel.RenameSelectedClip();
    Check(input.Text == InputText, "a rename leaves the input as it is");
    const bool bRefused = panel.StatusText == "Clip name cannot be empty.";
    Check(bRefused || panel.StatusText == "Renamed clip to " + panel.Clips[0].Name,
          "the status says what happened");
    Check(!bRefused || panel.Clips[0].Name == "before", "a refusal changes no name");
    return bRefused ? std::string() : panel.Clips[0].Name;
}

void CheckTrimming(const std::string& Text)
{
    const std::string name = Renamed(Text);
    Check(name == Trimmed(Text), "only white space at both ends is taken away");
    Check(Renamed(name) == name, "a trimmed name stays");
}

// Reads one word of the POSIX shell as the shell does; nothing when it isn't exactly one whole word
// of quoted parts.
std::optional<std::string> Unquoted(std::string_view Word)
{
    std::string text;
    while (!Word.empty())
    {
        const char quote = Word.front();
        const std::size_t end = Word.find(quote, 1);
        if ((quote != '\'' && quote != '"') || end == std::string_view::npos)
        {
            return std::nullopt;
        }
        const std::string_view part = Word.substr(1, end - 1);
        // Between double quotes these four still mean something.
        if (quote == '"' && part.find_first_of("$`\\\"") != std::string_view::npos)
        {
            return std::nullopt;
        }
        text += part;
        Word.remove_prefix(end + 1);
    }
    return text;
}

void CheckQuoting(const std::string& Text)
{
    const std::string word = Panel::ShellQuote(Text);
    Check(word.size() >= 2, "even an empty text is a word");
    Check(Unquoted(word) == Text, "the shell reads the same bytes");
}

void CheckStem(const std::string& Text)
{
    const std::string stem = Panel::SanitizeFileStem(Text);
    constexpr std::string_view Permitted = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                           "0123456789-_";
    Check(!stem.empty(), "a stem is never empty");
    Check(stem.find_first_not_of(Permitted) == std::string::npos,
          "a stem has permitted bytes only");
    Check(stem.back() != '_', "a stem does not end in an underscore");
    Check(stem.size() <= std::max<std::size_t>(Text.size(), 4),
          "a stem is not longer than its text");
    Check(Panel::SanitizeFileStem(stem) == stem, "a stem is its own stem");
}

void CheckExportPath(const std::string& Text)
{
    static const TempFolder folder;
    Host().RecordingsDir = folder.Path();
    std::string fileName;
    const std::filesystem::path path = Panel::BuildClipExportPath(Text, fileName);
    Check(path.native() == folder.Path().native() + "/clips/" + fileName, "it lies in the folder");
    const std::string whole = "clip_00000_" + Panel::SanitizeFileStem(Text) + ".mkv";
    Check(fileName == whole.substr(0, 63), "it is named by the stem, at 63 bytes at most");
    Check(!std::filesystem::exists(path), "the name is free and nothing is written");
}

void CheckBaseName(const std::string& Text)
{
    const std::string name = Panel::BaseNameFromPath(Text);
    if (Text.empty())
    {
        Check(name == "Unknown Source", "an empty path has a fixed name");
        return;
    }
    const std::string behindSlash = Text.substr(Text.rfind('/') + 1);
    Check(name == (behindSlash.empty() ? Text : behindSlash),
          "the name is what is behind the slash");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    const std::string text(reinterpret_cast<const char*>(pData), Size);
    CheckTrimming(text);
    CheckQuoting(text);
    CheckStem(text);
    CheckExportPath(text);
    CheckBaseName(text);
    Host().Log.clear();
    return 0;
}
