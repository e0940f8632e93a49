// A check with a root of trust pinned beside one without, of a site with 1,000 packages that nginx serves on this
// machine and that has not changed since the check before.

#include "SampleRepository.h"
#include "SignedSite.h"
#include "cNginx.h"

#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "plugins/cPluginMgr.h"
#include "trust/cInstallationTrust.h"

#include <Norvale/Corvane.h>

#include <Goals.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QSettings>

namespace {

constexpr int Features = 334; // of three packages each

/// An installation that is older than the site, in a folder of the run.
class cSuite
{
public:
    bool begin(const cNginx& server)
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder.filePath("user"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, m_folder.filePath("machine"));
        QSettings machine(QSettings::SystemScope, "Varkel", "Pelmora");
        machine.setValue("InstallDir", m_folder.filePath("suite"));
        machine.setValue("ConfigMgr/RepositoryName", "main");
        machine.setValue("ConfigMgr/RepositoryVersion", "1.0.0");
        machine.sync();
        QSettings().setValue("UpdateMgr/Locations/site", QVariantMap{{"url", server.url("")}});
        QMap<QString, QByteArray> targets;
        targets["site.xml"] =
            "<site><repository config=\"release\" status=\"release\" platform=\"x64\" update=\"main\" "
            "content=\"main\"/></site>";
        targets["main/repository.xml"] = sampleRepository(Features);
        for (auto it = targets.begin(); it != targets.end(); ++it)
            write(server, it.key(), it.value());
        for (int i = 0; i < Features; ++i) {
            for (const char* suffix : {"Core", "View", "Tools"})
                targets[QStringLiteral("main/Plugin%1%2-1.02.003.zip").arg(i).arg(suffix)] = QByteArray::number(i);
        }
        m_root = cSignedSite::write(server.path(""), targets);
        for (const char* name : {"site.xml", "main/repository.xml"}) // as a signed site has them
            write(server, copyOf(name, targets[name]), targets[name]);
        return Corvane::initializeFolderOrFile() && !m_root.isEmpty();
    }

    const QByteArray& root() const { return m_root; }

private:
    static QString copyOf(const QString& path, const QByteArray& bytes)
    {
        const int name = path.lastIndexOf('/') + 1;
        return path.left(name) + Cryptography::sha256(bytes).toHex() + '.' + path.mid(name);
    }
    static void write(const cNginx& server, const QString& path, const QByteArray& bytes)
    {
        QFile file(server.path(path));
        QDir().mkpath(QFileInfo(file).path());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("The site cannot be written");
    }

    QTemporaryDir m_folder;
    QByteArray m_root;
};

void check(benchmark::State& state, const cSuite* suite, bool isPinned)
{
    QString error;
    if (!(isPinned ? cInstallationTrust::pin(suite->root(), &error) : cInstallationTrust::unpin(&error)))
        return state.SkipWithError(qPrintable(error));
    cPluginMgr plugins;
    cConfigurationMgr manager(plugins);
    cUpdateMgr updates;
    cFeatureCatalogue installed;
    for (int i = Features / 2; i < Features; ++i) {
        installed.append(QSharedPointer<cFeatureInstance>::create(QStringLiteral("Feature%1").arg(i), cVersion("1.0"),
                                                                  true, QStringLiteral("main")));
    }
    manager.setInstalled(installed);
    (void)manager.checkForUpdates(); // what is new is fetched once
    for (auto _ : state) {
        if (manager.checkForUpdates()["result_code"].toInt() != 0)
            state.SkipWithError("the answer is not what the site says");
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("NorvaleBench"));
    QCoreApplication::setApplicationName(QStringLiteral("Trust"));
    const cNginx server;
    cSuite suite;
    if (!server.isRunning() || !suite.begin(server)) {
        std::fprintf(stderr, "no signed site to check\n");
        return 1;
    }
    for (const bool isPinned : {false, true}) {
        benchmark::RegisterBenchmark(isPinned ? "check/trusted" : "check/plain", check, &suite, isPinned)
            ->MinTime(0.1)
            ->Repetitions(21)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    Goals goals(Goals::Round::Median);
    goals.atMost("trust_check", "check/trusted", "check/plain", 1.2);
    goals.custom("trust_check_ms", 10, false,
                 [](const Goals& g) { return 1000 * (g.time("check/trusted") - g.time("check/plain")); });
    return runBenchmarks(argc, argv, goals);
}
