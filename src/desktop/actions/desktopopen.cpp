#include "desktop/actions/desktopopen.h"

#include "export/exportmessages.h"

#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUrl>

void OpenWithDesktop(const std::string& Path)
{
    // An address, since the toolkit takes no bytes as arguments.
    const QByteArray address = "file://" + QByteArray::fromStdString(Path).toPercentEncoding("/");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.contains(ExportSocketVariable))
    {
        environment.remove(ExportSocketVariable);
        environment.remove("MOVANE_FFMPEG_BIN"); // the front: the user named no ffmpeg
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
