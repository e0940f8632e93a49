#pragma once

#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "plugins/cPluginMgr.h"

#include <Files.h>
#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>
#include <Rows.h>
#include <SettingsSandbox.h>

/// What lies in the data folder as @p name.
inline QString dataPath(const QString& name)
{
    return Corvane::velmiraFolderOrFile(Corvane::DataFolder) + "/" + name;
}

/// The hash of @p bytes, as a description has it.
inline QByteArray hashed(const QByteArray& bytes)
{
    return "<hash method='sha1'>" + QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex() + "</hash>";
}

/// What came of an update: "result_code", and "failed" where it is there.
inline QString update()
{
    const cJsonValue result = IConfigMgr::doUpdateOn({});
    const QString code = result["result_code"].toVariant().toString();
    return result.contains("failed") ? code + " " + result["failed"].toString() : code;
}

/// An installation, the managers that update it, and an update site on the disk, in a temporary folder.
class UpdateFixture
{
public:
    UpdateFixture()
    {
        QObject::connect(&updates, &cUpdateMgr::progress, manager.data(), &cConfigurationMgr::onProgress);
        cLogCentral::setDebuggerOutput(true);
    }

    /// A new installation of version 1.0.0 of the repository "main", with @p features as XML, updated from @p site or,
    /// when that is empty, from the folder "site". Nothing is in the data folder.
    void begin(const QByteArray& features = QByteArray(), const QUrl& site = QUrl())
    {
        m_case = sandbox.path() + "/" + QString::number(++m_count);
        m_since = cLogCentral::history().size();
        sandbox.setInstallDir(m_case);
        sandbox.setMachineValue("ConfigMgr/RepositoryName", "main");
        sandbox.setMachineValue("ConfigMgr/RepositoryVersion", "1.0.0");
        QVERIFY(Corvane::initializeFolderOrFile());
        QVERIFY(QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).removeRecursively());
        Corvane::setRestartSetupFilename("none");
        write("site/site.xml", Site);
        // They are read anew at each check.
        const QUrl url = site.isEmpty() ? QUrl::fromLocalFile(path("site")) : site;
        QSettings().remove("UpdateMgr");
        QSettings().setValue("UpdateMgr/Locations/site", QVariantMap{{"url", url}});
        write("plugins/features.xml", "<r>" + features + "</r>");
        QVERIFY(manager->loadFeatures());
        manager->disconnect();
    }
    /// What the folder "site" offers: @p attributes of the root beside the name "main", and @p content.
    void offer(const QByteArray& attributes, const QByteArray& content) const
    {
        write("site/repo/repository.xml", "<r name='main' " + attributes + ">" + content + "</r>");
    }

    /// Below the folder of the case; an absolute path stays.
    QString path(const QString& file) const { return QDir(m_case).absoluteFilePath(file); }
    void write(const QString& file, const QByteArray& bytes) const { writeFile(path(file), bytes); }

    /// How many warnings and errors of the case contain @p part.
    int logged(const QString& part) const
    {
        int count = 0;
        for (const cLogEntry& entry : cLogCentral::history().mid(m_since))
            count += entry.channel == "ConfigurationMgr" && entry.level != debugInfo && entry.message.contains(part);
        return count;
    }

    static constexpr char Site[] =
        "<s><repository config='release' status='release' platform='x64' update='main' content='repo'/></s>";

    SettingsSandbox sandbox;
    cPluginMgr plugins;
    QScopedPointer<cConfigurationMgr> manager{new cConfigurationMgr(plugins)};
    cUpdateMgr updates;

private:
    QString m_case;
    int m_count = 0;
    int m_since = 0;
};
