#include "cDeltaSite.h"

#include <QtCore/QDir>
#include <QtCore/QProcess>

namespace {

constexpr int LeastLibraries = 6;

} // namespace

cDeltaSite::cDeltaSite(const QString& corpus)
{
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME"})
        qputenv(name, QFile::encodeName(m_dir.filePath(QString::fromLatin1(name))));
    if (!m_server.isRunning())
        m_fault = QStringLiteral("nginx does not run");
    else if (!make(corpus) && m_fault.isEmpty())
        m_fault = QStringLiteral("the site cannot be made");
}

bool cDeltaSite::make(const QString& corpus)
{
    QByteArray libraries;
    if (!run(QStringLiteral("python3"), {QStringLiteral(CORPUS), corpus}, &libraries))
        return false;
    for (const QByteArray& line : libraries.trimmed().split('\n')) {
        std::printf("%s\n", line.constData());
        m_names.append(QString::fromLatin1(line.left(line.indexOf(' '))));
    }
    if (count() < LeastLibraries) {
        m_fault = QStringLiteral("the archive has %1 of %2 libraries in two versions; apt-get update may bring more")
                      .arg(QString::number(libraries.isEmpty() ? 0 : count()), QString::number(LeastLibraries));
        return false;
    }
    for (const QString& name : qAsConst(m_names)) {
        for (const char* version : {"/old", "/new"}) {
            if (!run(NORVALE, {"pack", corpus + '/' + name + version, "-o", m_dir.filePath("packages")}))
                return false;
        }
    }
    const QString suite = m_dir.filePath("suite");
    return publish(m_from.toString(), {}) && QDir().mkpath(suite + "/plugins") &&
           run(VCORE, {"--install-dir", suite}) && run(VCORE, {"--install", m_server.path("main/repository.xml")}) &&
           run(VCORE, {"--update-sites", m_server.url(QString()).toString()}) &&
           publish(m_to.toString(), {"--deltas", "3"});
}

qint64 cDeltaSite::fetchUpdate()
{
    return run(VCORE, {"--update"}) ? m_server.sent(".zip") + m_server.sent(".delta") : 0;
}

bool cDeltaSite::publish(const QString& version, const QStringList& options)
{
    QStringList arguments{"site", "add", m_server.path(QString()), "--feature", "Core", "--feature-version", version};
    for (const QString& name : qAsConst(m_names))
        arguments.append(m_dir.filePath("packages/" + cPluginId(name, cVersion(version)).packageFileName()));
    return run(NORVALE, arguments + options);
}

bool cDeltaSite::run(const QString& program, const QStringList& arguments, QByteArray* output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    process.waitForFinished(-1);
    if (output)
        *output = process.readAllStandardOutput();
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return true;
    m_fault = QStringLiteral("%1 %2 fails").arg(program, arguments.value(0));
    return false;
}
