#include "desktop/session/settings.h"

#include "base/log.h"
#include "desktop/look/pathtext.h"
#include "host/apppaths.h"

#include <QFile>
#include <QSettings>

#include <algorithm>
#include <cmath>

namespace
{
constexpr qsizetype RecentFileCount = 10;

QSettings OpenStore()
{
    return QSettings(QFile::decodeName(AppPaths::StateDir().c_str()) + "/desktop.ini",
                     QSettings::IniFormat);
}

// A number from a file that anyone may have edited.
double NumberWithin(const QVariant& Value, double Min, double Max, double Default)
{
    bool bIsNumber = false;
    const double number = Value.toDouble(&bIsNumber);
    return bIsNumber && std::isfinite(number) ? std::clamp(number, Min, Max) : Default;
}

// The bytes of paths. The toolkit gives a list of one back as that one, and an earlier version saved texts.
QStringList PathsIn(const QVariant& Value)
{
    QStringList paths;
    const bool bList =
        Value.typeId() == QMetaType::QVariantList || Value.typeId() == QMetaType::QStringList;
    for (const QVariant& item : bList ? Value.toList() : QVariantList{Value})
    {
        const QString path = item.typeId() == QMetaType::QByteArray
                                 ? PathText(item.toByteArray().toStdString())
                                 : item.toString();
        if (!path.isEmpty())
        {
            paths.append(path);
        }
    }
    return paths;
}

QVariantList BytesOf(const QStringList& Paths)
{
    QVariantList list;
    for (const QString& path : Paths)
    {
        list.append(QByteArray::fromStdString(PathBytes(path)));
    }
    return list;
}
} // namespace

Settings LoadSettings()
{
    const Settings defaults;
    QSettings store = OpenStore();
    Settings loaded;
    loaded.WindowGeometry = store.value("WindowGeometry").toByteArray();
    loaded.SplitterState = store.value("SplitterState").toByteArray();
    loaded.VolumePercent =
        NumberWithin(store.value("VolumePercent"), 0.0, 100.0, defaults.VolumePercent);
    loaded.bMuted = store.value("Muted", defaults.bMuted).toBool();
    loaded.TextScale = NumberWithin(store.value("TextScale"), 0.75, 3.0, defaults.TextScale);
    loaded.RecentFiles = PathsIn(store.value("RecentFiles")).mid(0, RecentFileCount);
    return loaded;
}

void SaveSettings(const Settings& Saved)
{
    QSettings store = OpenStore();
    store.setValue("WindowGeometry", Saved.WindowGeometry);
    store.setValue("SplitterState", Saved.SplitterState);
    store.setValue("VolumePercent", Saved.VolumePercent);
    store.setValue("Muted", Saved.bMuted);
    store.setValue("TextScale", Saved.TextScale);
    store.setValue("RecentFiles", BytesOf(Saved.RecentFiles));
    store.sync();
    if (store.status() != QSettings::NoError)
    {
        LogError("The settings can't be saved in " + AppPaths::StateDir() + ".");
    }
}

void RememberRecentFile(QStringList& RecentFiles, const QString& Path)
{
    RecentFiles.removeAll(Path);
    RecentFiles.prepend(Path);
    RecentFiles = RecentFiles.mid(0, RecentFileCount);
}
