#include "icons/cIconTheme_unix.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtGui/QIcon>
#include <QtGui/QImageReader>

#include <limits>

namespace {

/// One folder of a theme, as the theme's index describes it.
struct cThemeFolder
{
    QString type;
    int size, minSize, maxSize, threshold;

    /// How far the icons of the folder are from @p wanted pixels; 0 when they fit.
    int distance(int wanted) const
    {
        int least = size, most = size;
        if (type == QLatin1String("Scalable")) {
            least = minSize;
            most = maxSize;
        } else if (type == QLatin1String("Threshold")) {
            least = size - threshold;
            most = size + threshold;
        }
        if (wanted < least)
            return least - wanted;
        return wanted > most ? wanted - most : 0;
    }
};

cThemeFolder describedBy(QSettings& index, const QString& folder)
{
    index.beginGroup(folder);
    cThemeFolder described;
    // The defaults are those of the icon theme specification.
    described.type = index.value(QStringLiteral("Type"), QStringLiteral("Threshold")).toString();
    described.size = index.value(QStringLiteral("Size"), 0).toInt();
    described.minSize = index.value(QStringLiteral("MinSize"), described.size).toInt();
    described.maxSize = index.value(QStringLiteral("MaxSize"), described.size).toInt();
    described.threshold = index.value(QStringLiteral("Threshold"), 2).toInt();
    const int scale = index.value(QStringLiteral("Scale"), 1).toInt();
    index.endGroup();
    if (scale != 1) // for screens whose pixels are counted otherwise
        described.size = described.minSize = described.maxSize = std::numeric_limits<int>::max() / 2;
    return described;
}

QString indexOf(const QString& root, const QString& theme)
{
    return QStringLiteral("%1/%2/index.theme").arg(root, theme);
}

} // namespace

cIconTheme::cIconTheme(int size) : m_size(size)
{
    m_roots << QDir::homePath() + QStringLiteral("/.icons");
    m_roots += QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("icons"),
                                         QStandardPaths::LocateDirectory);
    const QList<QByteArray> readable = QImageReader::supportedImageFormats();
    for (const char* suffix : {"png", "svg", "xpm"}) {
        if (readable.contains(suffix))
            m_suffixes << QLatin1Char('.') + QLatin1String(suffix);
    }
}

QString cIconTheme::find(const QString& name) const
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return QString();
    QStringList visited;
    for (const QString& theme : {QIcon::themeName(), QStringLiteral("hicolor")}) {
        const QString file = findInTheme(theme, name, &visited);
        if (!file.isEmpty())
            return file;
    }
    const QStringList loose =
        m_roots + QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("pixmaps"),
                                            QStandardPaths::LocateDirectory);
    for (const QString& folder : loose) {
        const QString file = pictureIn(folder, name);
        if (!file.isEmpty())
            return file;
    }
    return QString();
}

/// A theme that inherits itself, also by way of others, is looked into once.
QString cIconTheme::findInTheme(const QString& theme, const QString& name, QStringList* visited) const
{
    if (theme.isEmpty() || theme.contains(QLatin1Char('/')) || visited->contains(theme))
        return QString();
    visited->append(theme);
    const QString file = findInFolders(theme, name);
    if (!file.isEmpty())
        return file;
    for (const QString& root : m_roots) {
        if (!QFileInfo::exists(indexOf(root, theme)))
            continue;
        const QSettings index(indexOf(root, theme), QSettings::IniFormat);
        for (const QString& parent : index.value(QStringLiteral("Icon Theme/Inherits")).toStringList()) {
            const QString inherited = findInTheme(parent.trimmed(), name, visited);
            if (!inherited.isEmpty())
                return inherited;
        }
        break;
    }
    return QString();
}

QString cIconTheme::findInFolders(const QString& theme, const QString& name) const
{
    QString nearest;
    int nearestDistance = std::numeric_limits<int>::max();
    for (const QString& root : m_roots) {
        if (!QFileInfo::exists(indexOf(root, theme)))
            continue;
        QSettings index(indexOf(root, theme), QSettings::IniFormat);
        for (const QString& folder : index.value(QStringLiteral("Icon Theme/Directories")).toStringList()) {
            const int distance = describedBy(index, folder).distance(m_size);
            if (distance >= nearestDistance)
                continue;
            const QString file = pictureIn(QStringLiteral("%1/%2/%3").arg(root, theme, folder.trimmed()), name);
            if (file.isEmpty())
                continue;
            nearest = file;
            nearestDistance = distance;
        }
    }
    return nearest;
}

QString cIconTheme::pictureIn(const QString& folder, const QString& name) const
{
    for (const QString& suffix : m_suffixes) {
        const QString file = folder + QLatin1Char('/') + name + suffix;
        if (QFileInfo(file).isFile())
            return file;
    }
    return QString();
}
