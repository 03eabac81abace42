// The encoder that an export runs: finding it among this process's descendants and ending it.
//
// An export runs its encoder through the shell and knows nothing of it, so it is found in /proc by its
// command line: it ends with the file to be written. Shells in between, or a script that stands in for
// the encoder and runs it, make no difference; other children are never touched, and a process number
// that the kernel gave to somebody else meanwhile is not hit. Any thread, one at a time an object.

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class EncoderProcess
{
public:
    /// Returns the encoder that writes OutputPath, given as on its command line; nullopt when none
    /// runs. That is also so in the moments before the shell has started it: ask again while the export
    /// runs. Reads all of /proc: 1 to 5 ms on an idle machine, ten times that on a busy one.
    static std::optional<EncoderProcess> Find(const std::string& OutputPath);

    EncoderProcess(EncoderProcess&&) noexcept;
    EncoderProcess& operator=(EncoderProcess&&) noexcept;
    ~EncoderProcess();

    /// The encoder itself, not a script around it.
    pid_t Pid() const;

    /// True while the encoder, or a process that it was found with, has not ended.
    bool IsRunning() const;

    /// Asks the encoder to close its file and end, which it does in well under a second; a stopped one
    /// is continued for it. Returns at once. Only the first call sends anything: an encoder that is
    /// asked several times leaves its file unfinished.
    void AskToEnd();

    /// Ends the encoder and all that it runs at once; the file stays unfinished.
    void Kill();

    /// Waits until nothing of it runs; false when that takes longer than Timeout.
    bool WaitForEnd(std::chrono::milliseconds Timeout) const;

private:
    class Member;

    explicit EncoderProcess(std::string NewOutputPath);
    bool Collect();
    void Freeze();

    std::string OutputPath;
    std::vector<Member>
        Members; ///< found so far; the encoder, scripts around it, and their children
    pid_t EncoderPid = 0;
    bool bAsked = false;
};

/// What EndEncoder found.
enum class EncoderEnd
{
    NotRunning,
    InOrder, ///< it closed its file
    Killed,  ///< it did not within the grace period
};

/// Ends the encoder that writes OutputPath and waits until nothing of it runs, Grace and a moment more
/// at the longest: asks it, and kills it when it has not ended within Grace.
EncoderEnd EndEncoder(const std::string& OutputPath,
                      std::chrono::milliseconds Grace = std::chrono::seconds(5));
