#include <Norvale/Corvane.h>

#include "icons/cIconTheme_unix.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMimeDatabase>
#include <QtGui/QGuiApplication>
#include <QtGui/QImageReader>
#include <QtGui/QPixmap>

namespace {

constexpr int IconSize = 48;

/// The picture in @p file, fitted into the size of an icon with its shape kept, never enlarged unless it is drawn by
/// its description; null when it is no picture.
QImage pictureFrom(const QString& file)
{
    QImageReader reader(file);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    const bool isDrawn = reader.format().startsWith("svg");
    if (size.isValid() && (isDrawn || size.width() > IconSize || size.height() > IconSize))
        reader.setScaledSize(size.scaled(IconSize, IconSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    const QImage picture = reader.read();
    if (picture.width() <= IconSize && picture.height() <= IconSize)
        return picture;
    return picture.scaled(IconSize, IconSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

/// The icon that a desktop entry names: a theme icon or an absolute path. Empty when it names none.
QString iconOfDesktopEntry(const QString& path)
{
    constexpr qint64 LongestLine = 4096;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    bool isInEntry = false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(LongestLine).trimmed();
        if (line.startsWith('[')) {
            isInEntry = line == "[Desktop Entry]";
            continue;
        }
        const int equals = line.indexOf('=');
        if (isInEntry && equals > 0 && line.left(equals).trimmed() == "Icon")
            return QString::fromUtf8(line.mid(equals + 1).trimmed());
    }
    return QString();
}

/// @p icon as a desktop entry names it.
QImage namedIcon(const QString& icon, const cIconTheme& theme)
{
    if (QFileInfo(icon).isAbsolute())
        return pictureFrom(icon);
    const QString file = theme.find(icon);
    if (!file.isEmpty())
        return pictureFrom(file);
    // Many entries give a suffix, although they should not.
    const QString suffix = QFileInfo(icon).suffix();
    const bool isPicture =
        suffix == QLatin1String("png") || suffix == QLatin1String("svg") || suffix == QLatin1String("xpm");
    const QString found = isPicture ? theme.find(icon.chopped(suffix.size() + 1)) : QString();
    return found.isEmpty() ? QImage() : pictureFrom(found);
}

QImage iconOfKind(const QMimeType& kind, const cIconTheme& theme)
{
    for (const QString& name : {kind.iconName(), kind.genericIconName()}) {
        const QString file = theme.find(name);
        const QImage icon = file.isEmpty() ? QImage() : pictureFrom(file);
        if (!icon.isNull())
            return icon;
    }
    return QImage();
}

} // namespace

QPixmap Corvane::loadApplicationIcon(const QString& path)
{
    if (!QFileInfo::exists(path))
        return QPixmap();
    const QMimeType kind = QMimeDatabase().mimeTypeForFile(path);
    const cIconTheme theme(IconSize);
    QImage icon;
    if (kind.inherits(QStringLiteral("application/x-desktop")))
        icon = namedIcon(iconOfDesktopEntry(path), theme);
    else if (kind.name().startsWith(QLatin1String("image/")))
        icon = pictureFrom(path);
    if (icon.isNull())
        icon = iconOfKind(kind, theme);
    // Where the application has no pixmaps, or is about to end.
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return QPixmap();
    return QPixmap::fromImage(icon);
}
