// The messages between the encoder front of an export and the application that started it.
//
// Each message is one packet on a SOCK_SEQPACKET socket. Pure functions on bytes; input from the other side may be
// anything. Any thread.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The phases of an export, in order.
enum class ExportPhase
{
    Seek,   ///< ffmpeg decodes up to In
    Encode, ///< pictures come out
    Finish, ///< the file is closed, judged and named
};

enum class ExportMessageType
{
    Output,   ///< front: the first message; Text is the final path, any bytes but NUL
    Progress, ///< front: Phase, and Fraction of the whole work
    Taken,    ///< front: another program has the name; nothing was done
    Judged,   ///< front: the file is whole and has its final name
    Failed,   ///< front: Text is the sentence that says why
    Stop,     ///< application: the front ends the export and leaves no file
};

struct ExportMessage
{
    ExportMessageType Type = ExportMessageType::Stop;
    std::string Text = {};                   ///< of Output and Failed alone
    ExportPhase Phase = ExportPhase::Encode; ///< of Progress alone
    double Fraction = 0.0;                   ///< of Progress alone, 0 to 1

    bool operator==(const ExportMessage&) const = default;
};

/// The longest packet. A longer sentence of Failed is cut; no path is that long.
inline constexpr std::size_t MaxExportMessageBytes = 8192;

/// The environment variable that names the application's socket.
inline constexpr const char* ExportSocketVariable = "MOVANE_EXPORT_SOCKET";

/// The bytes of one packet. A fraction has four decimals and is clamped to 0 and 1.
///
///     WriteExportMessage({ExportMessageType::Progress, {}, ExportPhase::Encode, 0.42131})
///         == "progress encode 0.4213"
[[nodiscard]] std::string WriteExportMessage(const ExportMessage& Message);

/// Reads one packet; nullopt if it is not a message. A fraction is clamped to 0 and 1.
[[nodiscard]] std::optional<ExportMessage> ReadExportMessage(std::string_view Packet);
