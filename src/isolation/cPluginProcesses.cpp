#include "isolation/cPluginProcesses.h"

#include "core/Settings.h"
#include "isolation/cPluginProcess.h"
#include "version/cCodeImage.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

namespace {

constexpr int DefaultLimit = 30; // seconds

/// This library, or the program that it is a part of.
QString ownImage()
{
    static const int inThisImage = 0;
    return QFileInfo(cCodeImage::around(&inThisImage).path()).absoluteFilePath();
}

} // namespace

QString cPluginPrograms::programName()
{
#ifdef Q_OS_WIN
    return QStringLiteral("VPlugin.exe");
#else
    return QStringLiteral("VPlugin");
#endif
}

QStringList cPluginPrograms::places() const
{
    const QString besideLibrary = QFileInfo(ownImage()).path();
    return {QCoreApplication::applicationDirPath(), besideLibrary,
            besideLibrary + QLatin1String("/" NORVALE_PRIVATE_FOLDER),
            Corvane::velmiraFolderOrFile(Corvane::CoreFolder)};
}

QString cPluginPrograms::program() const
{
    if (!m_program.isEmpty())
        return m_program;
    for (const QString& place : places()) {
        const QFileInfo file(place + QLatin1Char('/') + programName());
        if (file.isFile() && file.isExecutable())
            return file.absoluteFilePath();
    }
    return QString();
}

QString cPluginPrograms::library() const
{
    return m_library.isEmpty() ? ownImage() : m_library;
}

std::unique_ptr<IPluginProcess> cPluginProcesses::make(const cPluginId& id, const QString& folder)
{
    bool isNumber = false;
    const int limit = cMachineSettings().value(QLatin1String(SettingsKey::IsolatedCallLimit)).toInt(&isNumber);
    return std::make_unique<cPluginProcess>(m_programs, id, QFileInfo(folder).absoluteFilePath(),
                                            isNumber && limit > 0 ? limit : DefaultLimit);
}
