#include "install/cCommandRunner.h"

#include "install/cConditionEngine.h"
#include "install/cInstallMgr.h"
#include "plugins/cPluginInstance.h"

#include <QtCore/QProcess>

cCommandRunner::cCommandRunner(cInstallMgr& manager, const cLog& log) : m_manager(manager), m_log(log) {}

cCommandRunner::~cCommandRunner() = default;

bool cCommandRunner::run(cPluginInstance& plugin, IInstallMgr::OPERATION operation)
{
    const cPluginId& id = plugin.id();
    if (!plugin.readManifest())
        return logAndFail(
            QStringLiteral("The command lines of %1 are not run: %2").arg(id.toString(), plugin.errorString()));
    const bool isInstall = operation == IInstallMgr::OPERATION_INSTALL;
    const QList<cCmdLine>& lines = isInstall ? plugin.installCommandLines() : plugin.uninstallCommandLines();
    if (lines.isEmpty())
        return true;
    const cOperation announced(m_manager, operation, id);
    return runAll(id, lines, plugin.folder());
}

bool cCommandRunner::runAll(const cPluginId& id, const QList<cCmdLine>& lines, const QString& folder)
{
    for (const cCmdLine& line : lines) {
        if (!isWanted(id, line))
            continue;
        const QString reason = execute(line, folder);
        if (!reason.isEmpty())
            return logAndFail(
                QStringLiteral("A command line of %1 failed: %2 %3").arg(id.toString(), line.command(), reason));
    }
    return true;
}

bool cCommandRunner::isWanted(const cPluginId& id, const cCmdLine& line)
{
    if (line.condition().isEmpty())
        return true;
    if (!m_conditions)
        m_conditions = std::make_unique<cConditionEngine>();
    const bool isTrue = m_conditions->isTrue(line.condition());
    if (m_conditions->errorString().isEmpty())
        return isTrue;
    return logAndFail(QStringLiteral("A condition of %1 counts as false: %2 fails in %3")
                          .arg(id.toString(), line.condition(), m_conditions->errorString()));
}

bool cCommandRunner::logAndFail(const QString& error)
{
    m_errors.append(error);
    m_log.error().noquote() << error << Qt::endl;
    return false;
}

QString cCommandRunner::execute(const cCmdLine& line, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    // What it prints is nobody's to read, and must not be held in memory.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(line.command(), line.params(), QIODevice::ReadWrite);
    if (!process.waitForStarted(-1))
        return QStringLiteral("cannot be started: %1").arg(process.errorString());
    process.closeWriteChannel(); // a program that asks for input is told that there is none
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("crashed");
    return process.exitCode() == 0 ? QString() : QStringLiteral("ended with exit code %1").arg(process.exitCode());
}
