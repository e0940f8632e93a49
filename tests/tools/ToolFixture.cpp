#include "ToolFixture.h"

#include "Platform.h"

#include <Norvale/cVersion.h>

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QProcess>

ToolFixture::Ended ToolFixture::run(const QStringList& arguments, const QMap<QString, QString>& environment) const
{
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (auto it = environment.begin(); it != environment.end(); ++it)
        variables.insert(it.key(), it.value());
    process.setProcessEnvironment(variables);
    process.setWorkingDirectory(path());
    Platform::start(process, QStringLiteral(NORVALE_PROGRAM), arguments);
    const bool hasEnded = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    process.kill();
    process.waitForFinished();
    return {hasEnded ? process.exitCode() : -1, Platform::consoleText(process.readAllStandardOutput()),
            Platform::consoleText(process.readAllStandardError())};
}

void ToolFixture::begin()
{
    ++m_count;
    QDir().mkpath(path());
}

QString ToolFixture::path(const QString& name) const
{
    const QString folder = QStringLiteral("%1/%2").arg(m_sandbox.path()).arg(m_count);
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

void ToolFixture::write(const QString& name, const QByteArray& bytes) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(name));
}

QByteArray ToolFixture::read(const QString& name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString ToolFixture::makePlugin(const QString& name, const QString& version, const QString& inner,
                                const QMap<QString, QByteArray>& more) const
{
    const QString folder = QStringLiteral("%1-%2").arg(name, cVersion(version).toString());
    write(folder + QStringLiteral("/Manifest.xml"), manifest(name, version, inner));
    write(folder + QLatin1Char('/') + Platform::library(name), "the library of " + folder.toLatin1());
    for (auto it = more.begin(); it != more.end(); ++it)
        write(folder + QLatin1Char('/') + it.key(), it.value());
    return folder;
}

QString ToolFixture::makePackage(const QString& name, const QString& version, const QString& inner) const
{
    return run({QStringLiteral("pack"), makePlugin(name, version, inner)}).output.trimmed();
}

QMap<QString, QByteArray> ToolFixture::tree(const QString& name) const
{
    QMap<QString, QByteArray> files;
    QDirIterator it(path(name), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QString relative = QDir(path()).relativeFilePath(it.filePath());
        files.insert(relative, read(relative));
    }
    return files;
}

QByteArray ToolFixture::manifest(const QString& name, const QString& version, const QString& inner)
{
    return QStringLiteral("<manifest>\n"
                          "<plugin name=\"%1\" version=\"%2\" runtime_api_version=\"13\">\n"
                          "<start><library filename=\"%1\" function=\"createPlugin\"/></start>\n"
                          "%3</plugin>\n"
                          "</manifest>\n")
        .arg(name, version, inner)
        .toUtf8();
}
