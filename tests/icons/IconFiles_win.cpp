#include "IconFiles.h"

#include <Files.h>
#include <Rows.h>

// A program whose icon is of one colour, and document types that have this icon. The size is the shell's matter.
static const char Classes[] = "HKEY_CLASSES_ROOT";

const char* const IconFiles::Some = "program.bin";

static void registerKind(const QString& ending, const QString& iconFile)
{
    QSettings classes(Classes, QSettings::NativeFormat);
    classes.setValue('.' + ending + "/.", ending);
    classes.setValue(ending + "/DefaultIcon/.", QDir::toNativeSeparators(iconFile) + ",0");
}

IconFiles::IconFiles()
{
    for (const char* name : {"program.exe", "program.bin", "Program.BIN2.Bin"})
        QVERIFY(QFile::copy(PICTURED_PROGRAM, path(name)));
    for (const char* name : {"text.bin", "a.norvaletest", "a.norvaletest2", "a.norvaletest3", "unknown.norvalenone"})
        writeFile(path(name), "text");
    registerKind("norvaletest", path("program.exe"));
    registerKind("norvaletest2", path("a.norvaletest"));
    registerKind("norvaletest3", path("absent.exe"));
    QDir::setCurrent(m_folder.path());
}

IconFiles::~IconFiles()
{
    QSettings classes(Classes, QSettings::NativeFormat);
    for (const char* ending : {"norvaletest", "norvaletest2", "norvaletest3"}) {
        classes.remove(QString(".") + ending);
        classes.remove(ending);
    }
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

void IconFiles::addRows() const
{
    const Rows<QString, QString> row("path", "shown");
    row("no such file", "absent.exe", "none");
    row("program", "program.exe", "pictured");
    row("the first icon within", "program.bin", "pictured");
    row("the ending in capitals", "Program.BIN2.Bin", "pictured");
    row("no icon within, so that of its kind", "text.bin", "other");
    row("kind of a document", "a.norvaletest", "pictured");
    row("kind with an icon file that has none, so that of the file's kind", "a.norvaletest2", "pictured");
    row("kind with an icon file that is not there", "a.norvaletest3", "none");
    row("unknown kind", "unknown.norvalenone", "other");
    row("folder", ".", "other");
}

/// "pictured" for the colour of the program's icon, "other" for another picture, "none".
QString IconFiles::shownIn(const QPixmap& icon) const
{
    if (icon.isNull())
        return "none";
    const QColor colour = icon.toImage().pixelColor(icon.width() / 2, icon.height() / 2);
    return colour == QColor(0xd0, 0x30, 0x10) ? "pictured" : "other";
}
