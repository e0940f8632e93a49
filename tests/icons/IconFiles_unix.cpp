#include "IconFiles.h"

#include <Files.h>
#include <Rows.h>

#include <QtGui/QIcon>
#include <QtGui/QImageReader>

// The icon theme Tango is that of this system; the picture of a tool is added to hicolor.
static const char SystemIcons[] = "/usr/share/icons/";
static const char ToolPicture[] = "icons/hicolor/48x48/apps/tool";

const char* const IconFiles::Some = "text.txt";

IconFiles::IconFiles()
{
    QIcon::setThemeName("Tango");
    QDir::setCurrent(m_folder.path());
    qputenv("XDG_DATA_DIRS", m_folder.path().toLocal8Bit() + ":/usr/share");
    QVERIFY(QDir().mkpath(QFileInfo(ToolPicture).path()));
    for (const auto& [name, size] : {std::pair("200", QSize(200, 100)), {"10", {10, 4}}, {ToolPicture, {48, 48}}}) {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::green);
        QVERIFY(picture.save(QString("%1.png").arg(name)));
    }
    const QMap<QString, QByteArray> texts{
        {"damaged.png", "\x89PNG\r\n\x1a\n and no more"},
        {"text.txt", "text"},
        {"icons/hicolor/index.theme", "[Icon Theme]\nDirectories=48x48/apps\n[48x48/apps]\nSize=48\n"},
        {"tool.desktop", "[Desktop Entry]\nIcon=tool\n"},
        {"noicon.desktop", "[Desktop Action x]\nIcon=tool\n[Desktop Entry]\nName=x\n"},
        {"suffix.desktop", "[Desktop Entry]\nIcon[de]=absent\nIcon = tool.png\n"},
        {"climbing.desktop", "[Desktop Entry]\nIcon=../48x48/apps/tool\n"},
        {"absolute.desktop", "[Desktop Entry]\nIcon=" + path("10.png").toUtf8() + "\n"},
    };
    for (auto text = texts.begin(); text != texts.end(); ++text)
        writeFile(path(text.key()), *text);
}

IconFiles::~IconFiles()
{
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

void IconFiles::addRows() const
{
    // Tango has pictures of 32 pixels, which are not enlarged, and drawings for those whose Qt reads them.
    const bool isDrawn = QImageReader::supportedImageFormats().contains("svg");
    const auto tango = [=](const QString& name) { return isDrawn ? "48x48" : "32x32 " + name; };
    const Rows<QString, QString> row("path", "shown");
    row("no such file", "absent.png", "0x0");
    row("desktop entry", "tool.desktop", "48x48 tool");
    row("desktop entry with a suffix", "suffix.desktop", "48x48 tool");
    row("desktop entry with a path", "absolute.desktop", "10x4 10");
    row("picture that is larger", "200.png", "48x24");
    row("picture that is smaller", "10.png", "10x4 10");
    row("damaged picture has that of its kind", "damaged.png", tango("image-x-generic"));
    row("kind of a file", "text.txt", tango("text-x-generic"));
    row("program", "/bin/true", tango("application-x-executable"));
    // The kind of a desktop entry has no icon in this theme but that of its general kind.
    row("desktop entry without an icon", "noicon.desktop", tango("text-x-generic"));
    row("desktop entry that climbs out", "climbing.desktop", tango("text-x-generic"));
    row("folder", ".", tango("inode-directory"));
}

/// The size, and the picture that it is.
QString IconFiles::shownIn(const QPixmap& icon) const
{
    QString shown = QString("%1x%2").arg(icon.width()).arg(icon.height());
    for (const QString& name :
         {path(ToolPicture), QString("Tango/32x32/mimetypes/image-x-generic"),
          QString("Tango/32x32/mimetypes/text-x-generic"), QString("Tango/32x32/mimetypes/application-x-executable"),
          QString("Tango/32x32/places/inode-directory"), path("10")}) {
        const QPixmap picture(QDir(SystemIcons).filePath(name + ".png"));
        if (!icon.isNull() && icon.toImage() == picture.toImage())
            shown += " " + name.section('/', -1);
    }
    return shown;
}
