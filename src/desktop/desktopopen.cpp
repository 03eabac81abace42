#include "desktop/desktopopen.h"

#include "export/encoderfront.h"
#include "export/exportmessages.h"
#include "host/environment.h"

#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUrl>

void OpenWithDesktop(const std::string& Path)
{
    // An address, since the toolkit takes no bytes as arguments.
    const QByteArray address = "file://" + QByteArray::fromStdString(Path).toPercentEncoding("/");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(ExportSocketVariable);
    if (EnvironmentValue("MOVANE_FFMPEG_BIN") == EncoderFrontPath())
    {
        environment.remove("MOVANE_FFMPEG_BIN");
    }
    QProcess opener;
    opener.setProgram("xdg-open");
    opener.setArguments({QString::fromLatin1(address)});
    opener.setProcessEnvironment(environment);
    // The toolkit knows further ways, though none that takes an environment.
    if (!opener.startDetached())
    {
        QDesktopServices::openUrl(QUrl::fromEncoded(address));
    }
}
