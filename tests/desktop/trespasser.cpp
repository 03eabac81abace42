// A plugin that nobody has asked for: that it was loaded is seen by the file that MOVANE_TEST_TRESPASS names.

#include <QObject>

#include <cstdlib>
#include <fstream>

namespace
{
const bool bLoaded = []
{
    const char* path = std::getenv("MOVANE_TEST_TRESPASS"); // NOLINT(concurrency-mt-unsafe)
    return path != nullptr && std::ofstream(path).is_open();
}();
} // namespace

class Trespasser : public QObject
{
    Q_OBJECT
    // As a plugin for a platform of the name in the file; the toolkit loads it before it finds that it is none.
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QPA.QPlatformIntegrationFactoryInterface.5.3" FILE
                          "trespasser.json")
};

#include "trespasser.moc"
