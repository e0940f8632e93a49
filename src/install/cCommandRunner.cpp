#include "install/cCommandRunner.h"

#include "install/cConditionEngine.h"
#include "install/cOperation.h"
#include "plugins/cPluginInstance.h"

#include <QtCore/QProcess>

cCommandRunner::cCommandRunner(cInstallMgr& manager, const cLog& log) : m_manager(manager), m_log(log) {}

cCommandRunner::~cCommandRunner() = default;

bool cCommandRunner::run(cPluginInstance& plugin, IInstallMgr::OPERATION operation)
{
    if (!plugin.readManifest()) {
        m_log.error().noquote() << "The command lines of" << plugin.id().toString() << "are not run: " + plugin.errorString()
                                << Qt::endl;
        return false;
    }
    const bool isInstall = operation == IInstallMgr::OPERATION_INSTALL;
    const QList<cCmdLine>& lines = isInstall ? plugin.installCommandLines() : plugin.uninstallCommandLines();
    if (lines.isEmpty())
        return true;
    const cOperation announced(m_manager, operation, plugin.name(), plugin.version().toString());
    return runAll(plugin, lines);
}

bool cCommandRunner::runAll(const cPluginInstance& plugin, const QList<cCmdLine>& lines)
{
    for (const cCmdLine& line : lines) {
        if (!isWanted(plugin, line))
            continue;
        const QString fault = execute(line, plugin.folder());
        if (!fault.isEmpty()) {
            m_log.error().noquote() << "A command line of" << plugin.id().toString() << "failed:" << line.command() << fault
                                    << Qt::endl;
            return false;
        }
    }
    return true;
}

bool cCommandRunner::isWanted(const cPluginInstance& plugin, const cCmdLine& line)
{
    if (line.condition().isEmpty())
        return true;
    if (!m_conditions)
        m_conditions = std::make_unique<cConditionEngine>();
    const bool isTrue = m_conditions->isTrue(line.condition());
    if (!m_conditions->errorString().isEmpty())
        m_log.error().noquote() << "A condition of" << plugin.id().toString() << "counts as false:" << line.condition()
                                << "fails in" << m_conditions->errorString() << Qt::endl;
    return isTrue;
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
