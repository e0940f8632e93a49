// A whole update check, from the site's description on the disk to the answer, in three sizes: half of the features are
// installed and older, the other half comes in through their dependencies. Beside it a bare parse of the same
// documents, read from the same files.

#include "SampleRepository.h"

#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/cLogCentral.h>

#include <Goals.h>
#include <KeepMemory.h>
#include <cProcessorTime.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

namespace {

/// Settings stores and an update site for each size, in a folder of the run.
class cSites
{
public:
    cSites()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder.filePath("user"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, m_folder.filePath("machine"));
        QSettings machine(QSettings::SystemScope, "Varkel", "Pelmora");
        machine.setValue("ConfigMgr/RepositoryName", "main");
        machine.setValue("ConfigMgr/RepositoryVersion", "1.0.0");
    }

    QUrl site(int count) const
    {
        const QString folder = m_folder.filePath(QString::number(count));
        if (QDir().mkpath(folder + "/repo")) {
            write(folder + "/site.xml", "<site><repository config=\"release\" status=\"release\" platform=\"x64\" "
                                        "update=\"main\" content=\"repo\"/></site>");
            write(folder + "/repo/repository.xml", sampleRepository(count));
        }
        return QUrl::fromLocalFile(folder);
    }

private:
    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("The site cannot be written");
    }

    QTemporaryDir m_folder;
};

const cSites& sites()
{
    static const cSites sites;
    return sites;
}

void checkForUpdates(benchmark::State& state)
{
    const int count = int(state.range(0));
    const QUrl site = sites().site(count); // moves the settings, too
    QSettings().setValue("UpdateMgr/Locations/site", QVariantMap{{"url", site}});

    cPluginMgr plugins;
    cConfigurationMgr manager(plugins);
    cUpdateMgr updates;
    updates.loadLocations();
    cFeatureCatalogue installed;
    for (int i = count / 2; i < count; ++i) {
        installed.append(QSharedPointer<cFeatureInstance>::create(QStringLiteral("Feature%1").arg(i), cVersion("1.0"),
                                                                  true, QStringLiteral("main")));
    }
    manager.setInstalled(installed);
    const double size = qMin(3.0 * 123456 * count, 4294967295.0);
    for (auto _ : state) {
        // The processor's time of this process, which no other program's turn is part of.
        const cProcessorTime time;
        const cJsonValue result = manager.checkForUpdates();
        state.SetIterationTime(time.elapsed());
        if (result["result_code"].toInt() != 0 || result["size"].toDouble() != size)
            state.SkipWithError("the answer is not what the site says");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void parseBare(benchmark::State& state)
{
    const int count = int(state.range(0));
    const QString folder = sites().site(count).toLocalFile();
    for (auto _ : state) {
        const cProcessorTime time;
        for (const char* name : {"/site.xml", "/repo/repository.xml"}) {
            QFile file(folder + QLatin1String(name));
            if (!file.open(QIODevice::ReadOnly) || parsePlainly(file.readAll()) == 0)
                state.SkipWithError("the document is not well-formed");
        }
        state.SetIterationTime(time.elapsed());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void inThreeSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Repetitions(15)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK(checkForUpdates)->Apply(inThreeSizes);
BENCHMARK(parseBare)->Apply(inThreeSizes);

} // namespace

int main(int argc, char** argv)
{
    keepMemory();
    joinFreedMemory();
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("NorvaleBench"));
    QCoreApplication::setApplicationName(QStringLiteral("Check"));
    Goals goals(Goals::Round::Fastest);
    goals.atMost("check_10k", "checkForUpdates/10000", "parseBare/10000", 1.5);
    goals.atMost("check_100k", "checkForUpdates/100000", "parseBare/100000", 1.5);
    goals.growth("check_10k", "checkForUpdates/10000", "checkForUpdates/1000");
    goals.growth("check_100k", "checkForUpdates/100000", "checkForUpdates/10000");
    return runBenchmarks(argc, argv, goals);
}
