#include "desktop/encodercheck.h"

#include <QFileInfo>
#include <QStandardPaths>

QStringList EncoderFolders()
{
    return qEnvironmentVariable("PATH").split(':', Qt::SkipEmptyParts) << "/usr/bin"
                                                                       << "/usr/sbin";
}

std::string EncoderProblem(const QString& Override, const QStringList& Folders)
{
    const QString override = Override.trimmed();
    if (!override.isEmpty())
    {
        const QFileInfo file(override);
        return file.isExecutable() && !file.isDir()
                   ? std::string()
                   : "MOVANE_FFMPEG_BIN is not executable: " + override.toStdString();
    }
    if (!QStandardPaths::findExecutable("ffmpeg", Folders).isEmpty())
    {
        return {};
    }
    return "Clips can't be exported without ffmpeg: install it with \"sudo apt install ffmpeg\". "
           "Marking works meanwhile.";
}
