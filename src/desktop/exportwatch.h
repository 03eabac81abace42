// Follows the running export from outside: its progress, its end, and the wish to stop it.
//
// The panel runs the export and reports its result; this looks at the encoder's process and report. Its
// timer runs only while an export runs. A file that is cut short or holds no picture is told in a
// notification and as the status, for neither ffmpeg nor the panel says so. For that the file is read up to
// its first picture, which takes half a millisecond; 0.2 s for an hour of sound without one. UI thread only.

#pragma once

#include "host/movane.h"
#include "media/encoderprocess.h"
#include "media/exportprogress.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

class Session;

class ExportWatch : public QObject
{
    Q_OBJECT

public:
    /// ReportPath is what EnableExportReport returned. StopReceived tells whether the process was told to
    /// end from outside: that may have ended the encoder, too, and counts like a call of Stop.
    ExportWatch(
        Session& Running,
        std::string ReportPath,
        std::function<bool()> StopReceived = [] { return false; });

    /// Ends a running export and removes its unfinished file: the application goes.
    ~ExportWatch() override;

    /// Begins with the selected clip, whose export the panel has just started.
    void Begin();

    /// Asks the encoder to end, and kills it when it has not ended within its grace period. The panel
    /// then reports the failure, and the unfinished file is removed. Without a running export nothing
    /// happens.
    void Stop();

    bool IsRunning() const { return bRunning; }

Q_SIGNALS:
    void Progressed(const ExportProgressRecord& Progress);
    /// The panel has taken the result. Without a whole file with pictures in it nothing is exported.
    void Ended(bool bExported);

private:
    void Look();
    void PressStop();
    void End();
    /// Rest follows the name of the file.
    void Warn(Movane::NotificationType Type, const char* Rest);
    void RemoveUnfinishedFile();

    Session& Watched;
    std::function<bool()> IsStopReceived;
    ExportProgress Progress;
    QTimer Timer;
    bool bRunning = false;
    std::filesystem::path OutputPath;

    // -- A stop that is under way.
    bool bStopWanted = false;
    std::optional<EncoderProcess> Encoder;
    QElapsedTimer SinceAsked;
};
