#include <Norvale/Corvane.h>

#include "icons/cShellIcon_win.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtGui/QPixmap>

#include <objbase.h>
#include <shellapi.h>

QT_BEGIN_NAMESPACE
Q_GUI_EXPORT QPixmap qt_pixmapFromWinHICON(HICON icon);
QT_END_NAMESPACE

namespace {

/// The picture of @p icon, which is destroyed; null for none.
QPixmap takePixmap(HICON icon)
{
    if (!icon)
        return QPixmap();
    const QPixmap pixmap = qt_pixmapFromWinHICON(icon);
    DestroyIcon(icon);
    return pixmap;
}

/// The first icon in the file itself. @return null also for 1, by which the system tells that the file has no icons.
HICON firstIconIn(const QString& nativePath)
{
    const auto* path = reinterpret_cast<const wchar_t*>(nativePath.utf16());
    const HICON icon = ExtractIconW(GetModuleHandleW(nullptr), path, 0);
    return icon == reinterpret_cast<HICON>(1) ? nullptr : icon;
}

} // namespace

QPixmap Corvane::loadApplicationIcon(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return QPixmap();
    const QString nativePath = QDir::toNativeSeparators(file.absoluteFilePath());
    // Every call initialises COM on its thread, and none ends it: pool threads come back for the next icon.
    CoInitialize(nullptr);
    if (file.suffix().toLower() == QLatin1String("bin")) {
        if (const HICON icon = firstIconIn(nativePath))
            return takePixmap(icon);
    }
    return takePixmap(cShellIcon(nativePath).load());
}
