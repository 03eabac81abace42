#include "desktop/openfolder.h"

#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUrl>

void OpenFolder(const QString& Path)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("FFREPORT");
    QProcess opener;
    opener.setProgram("xdg-open");
    opener.setArguments({Path});
    opener.setProcessEnvironment(environment);
    // The toolkit knows further ways, though none that takes an environment.
    if (!opener.startDetached())
    {
        QDesktopServices::openUrl(QUrl::fromLocalFile(Path));
    }
}
