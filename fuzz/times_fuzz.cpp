// Times as the panel writes them and as people write them on the command line.
//
// The first bytes are a number of seconds and a few written numbers, the rest is a text.

#include "check.h"
#include "inputbytes.h"

#include "app/typedtime.h"
#include "panel/mvclipcontrolpanel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace
{
bool IsDigitOrColon(char Character)
{
    return (Character >= '0' && Character <= '9') || Character == ':';
}

void CheckLabel(double Sec)
{
    const std::string label = MvClipControlPanel::FormatTimeLabel(Sec);
    Check(!label.empty() && label.size() < 32, "a label is short");
    // From here on the number of seconds is none that the C library can round.
    if (std::isfinite(Sec) && Sec > 9.2e18)
    {
        return;
    }
    Check(std::all_of(label.begin(), label.end(), IsDigitOrColon), "a label is digits and colons");
    if (!std::isfinite(Sec) || Sec < 0.5)
    {
        Check(label == "00:00", "what is no time shows as the start");
    }
    // Nine digits of hours are all that the command line takes.
    else if (Sec < 3.5e12)
    {
        Check(ParseTime(label) == std::round(Sec), "a label reads as the rounded second");
        Check((Sec < 3599.5 ? 1 : 2) == std::count(label.begin(), label.end(), ':'),
              "hours show from one hour on");
    }
}

// Checks that a well written time means its number, and returns it.
std::string CheckWrittenTime(InputBytes& Input)
{
    const int hours = Input.Byte() * 256 + Input.Byte();
    const int minutes = Input.Choice(60);
    std::string secondsText = std::to_string(Input.Choice(60));
    const int decimals = Input.Byte() * 256 + Input.Byte();
    secondsText += decimals % 2 == 0 ? "" : "." + std::to_string(decimals);
    const std::string text =
        std::to_string(hours) + ':' + std::to_string(minutes) + ':' + secondsText;
    const double expectedSec =
        (hours * 60.0 + minutes) * 60.0 + std::strtod(secondsText.c_str(), nullptr);
    Check(ParseTime(text) == expectedSec, "hours, minutes and seconds add up");
    return text;
}

void CheckAnyTime(const std::string& Text)
{
    const std::optional<double> sec = ParseTime(Text);
    Check(ParseTime(" \t" + Text + "\t ") == sec, "blanks around a time do not count");
    if (!sec.has_value())
    {
        return;
    }
    Check(std::isfinite(*sec) && *sec >= 0.0 && *sec <= 1e9 * 3600.0,
          "a time is a number in bounds");
    Check(Text.find_first_not_of("0123456789:. \t") == std::string::npos,
          "a time is plainly written");
    Check(std::count(Text.begin(), Text.end(), ':') <= 2, "a time has three numbers at most");
    Check(!ParseTime('-' + Text).has_value() && !ParseTime('+' + Text).has_value(), "no sign");
}

void CheckAnyArgument(const std::string& Text)
{
    ClipRequest request;
    std::string error;
    if (!ParseClipArgument(Text, request, error))
    {
        Check(error.starts_with("--clip \"" + Text + "\": "), "the error names the argument");
        Check(error.ends_with("."), "the error is a sentence");
        return;
    }
    Check(error.empty(), "there is no error where there is a clip");
    const std::size_t equals = Text.rfind('=');
    const std::string name = equals == std::string::npos ? "" : Text.substr(0, equals);
    Check(request.Name == name, "the last '=' ends the name");
    const std::string range = equals == std::string::npos ? Text : Text.substr(equals + 1);
    const std::size_t dash = range.find('-');
    Check(dash != std::string::npos && request.InSec == ParseTime(range.substr(0, dash)) &&
              request.OutSec == ParseTime(range.substr(dash + 1)),
          "In and Out are times");
}

void CheckWrittenArgument(const std::string& Name, const std::string& In, const std::string& Out)
{
    ClipRequest request;
    std::string error;
    Check(ParseClipArgument(Name + '=' + In + '-' + Out, request, error), "it is well written");
    Check(request.Name == Name, "a name may hold any bytes");
    Check(request.InSec == ParseTime(In) && request.OutSec == ParseTime(Out),
          "the times come back");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    InputBytes input(pData, Size);
    CheckLabel(input.AnyDouble());
    const std::string in = input.Bool() ? CheckWrittenTime(input) : "";
    const std::string out = input.Bool() ? CheckWrittenTime(input) : "";
    const std::string text = input.RestOfText();
    CheckAnyTime(text);
    CheckAnyArgument(text);
    CheckWrittenArgument(text, in, out);
    return 0;
}
