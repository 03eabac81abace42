#include "export/encoderarguments.h"

#include "media/containers.h"

namespace
{
void Append(std::vector<std::string>& Arguments, std::initializer_list<std::string> More)
{
    Arguments.insert(Arguments.end(), More);
}
} // namespace

std::vector<std::string>
EncoderArguments(const PanelCommand& Command, const EncoderPlan& Plan, int PartFd, int ProgressFd)
{
    std::vector<std::string> arguments = {"-y",
                                          "-hide_banner",
                                          "-loglevel",
                                          "error",
                                          "-progress",
                                          "pipe:" + std::to_string(ProgressFd),
                                          "-stats_period",
                                          "0.25"};
    std::int64_t fromMs = Command.InMs;
    if (Plan.Where.MarginMs.has_value())
    {
        Append(arguments, {"-ss", SecondsText(Command.InMs - *Plan.Where.MarginMs)});
        fromMs = *Plan.Where.MarginMs;
    }
    // The prefix "file:" keeps names such as "http:x" from being taken for a protocol.
    Append(arguments, {"-format_whitelist", AllowedContainers, "-protocol_whitelist",
                       AllowedProtocols, "-i", "file:" + Command.SourcePath});
    // V excludes attached pictures.
    Append(arguments, {"-ss", SecondsText(fromMs), "-t", SecondsText(Command.LengthMs), "-map",
                       "0:V:0?", "-map", "0:a?", "-c:v", "libx264", "-preset", "veryfast", "-crf",
                       "18", "-pix_fmt", "yuv420p", "-c:a", "copy"});
    if (Plan.bPad)
    {
        Append(arguments, {"-vf", "pad=ceil(iw/2)*2:ceil(ih/2)*2"});
    }
    if (Plan.bOwnTimes)
    {
        Append(arguments, {"-enc_time_base", "-1"});
    }
    // Name the format: the extension may have been cut off. Open by descriptor: the name may change.
    Append(arguments, {"-f", "matroska", "file:/proc/self/fd/" + std::to_string(PartFd)});
    return arguments;
}
