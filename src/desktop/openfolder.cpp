#include "desktop/openfolder.h"

#include "process/processsetup.h"

#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUrl>

void OpenFolder(const std::string& Path)
{
    // An address, since the toolkit takes no bytes as arguments.
    const QByteArray address = "file://" + QByteArray::fromStdString(Path).toPercentEncoding("/");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("FFREPORT");
    QProcess opener;
    opener.setProgram("xdg-open");
    opener.setArguments({QString::fromLatin1(address)});
    opener.setProcessEnvironment(environment);
    const AdoptionPause pause;
    // The toolkit knows further ways, though none that takes an environment.
    if (!opener.startDetached())
    {
        QDesktopServices::openUrl(QUrl::fromEncoded(address));
    }
}
