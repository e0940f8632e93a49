#include <Norvale/Corvane.h>

#include "core/Settings.h"
#include "disk/WriteSettings.h"
#include "log/cFrameworkLog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>

namespace {

// The display that SwizzleForDrell() converts for.
constexpr int RowBytes = 20; // 160 pixels
constexpr int Rows = 43;
constexpr int BandRows = 8;

/// Turns up to 8 rows of one byte each into 8 columns of one byte each: the top row in bit 0, the left column first.
void swizzleBlock(unsigned char* out, const unsigned char* in, int rowsInBand)
{
    for (int column = 0; column < 8; ++column) {
        unsigned pixels = 0;
        for (int row = 0; row < rowsInBand; ++row)
            pixels |= ((in[row * RowBytes] >> (7 - column)) & 1u) << row;
        out[column] = static_cast<unsigned char>(pixels);
    }
}

void store(const char* what, const char* key, const QVariant& value)
{
    cHostSettings settings;
    QString error;
    if (!writeSettings(settings, {{QLatin1String(key), value}}, &error))
        cFrameworkLog::library().error().noquote() << "The" << what << "is not kept:" << error << Qt::endl;
}

} // namespace

void Corvane::setRestartOption(RestartOption)
{
    // Always 0, on purpose: only a host stores another value.
    store("restart option", SettingsKey::RestartOption, 0);
}

Corvane::RestartOption Corvane::restartOption()
{
    return RestartOption(cHostSettings().value(QLatin1String(SettingsKey::RestartOption), 0).toInt());
}

void Corvane::setRestartSetupFilename(const QString& name)
{
    store("setup program for the restart", SettingsKey::RestartFilename, name);
}

QString Corvane::restartSetupFilename()
{
    return cHostSettings().value(QLatin1String(SettingsKey::RestartFilename)).toString();
}

void Corvane::restart()
{
    QCoreApplication::exit(0);
}

bool Corvane::launchDetached(const QString& program, const QStringList& arguments)
{
    const QFileInfo file(program);
    const QString nativeProgram = QDir::toNativeSeparators(file.absoluteFilePath());
    const QString nativeFolder = QDir::toNativeSeparators(file.dir().absolutePath());
    return QProcess::startDetached(nativeProgram, arguments, nativeFolder);
}

void Corvane::SwizzleForDrell(unsigned char* out, const unsigned char* in)
{
    for (int top = 0; top < Rows; top += BandRows) {
        const int rowsInBand = Rows - top < BandRows ? Rows - top : BandRows;
        for (int byte = 0; byte < RowBytes; ++byte, out += 8)
            swizzleBlock(out, in + top * RowBytes + byte, rowsInBand);
    }
}
