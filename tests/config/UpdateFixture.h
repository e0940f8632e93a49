#pragma once

#include "config/cConfigurationMgr.h"
#include "config/cUpdateMgr.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>
#include <Rows.h>
#include <SettingsSandbox.h>

/// An installation, the managers that update it and one update site, all in a temporary folder.
class UpdateFixture
{
public:
    UpdateFixture()
    {
        QObject::connect(&updates, SIGNAL(progress(QString, qint64, qint64)), manager.data(),
                         SLOT(onProgress(QString, qint64, qint64)));
        cLogCentral::setDebuggerOutput(true);
    }

    /// Everything as after a first installation, for the case @p name: repository "main" 1.0.0, and nothing in it.
    void reset(const QString& name)
    {
        m_case = sandbox.path() + "/" + QString(name).replace(QRegularExpression("\\W"), "_");
        sandbox.setInstallDir(m_case);
        QVERIFY(Corvane::initializeFolderOrFile());
        sandbox.setMachineValue("ConfigMgr/RepositoryName", "main");
        sandbox.setMachineValue("ConfigMgr/RepositoryVersion", "1.0.0");
        sandbox.removeMachineValue("ConfigMgr/RuntimeVersion");
        QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).removeRecursively();
        Corvane::setRestartSetupFilename("none");
        write("site/site.xml", "<s><repository config='release' status='release' platform='x64' update='main' "
                               "content='./repo'/></s>");
        useSite(QUrl::fromLocalFile(m_case + "/site"));
        setInstalled("");
        manager->disconnect();
    }
    void useSite(const QUrl& url)
    {
        QSettings().setValue("UpdateMgr/Locations/site", QVariantMap{{"url", url}});
        updates.loadLocations();
    }
    /// @p features as XML elements.
    void setInstalled(const QByteArray& features)
    {
        write("plugins/features.xml", "<r>" + features + "</r>");
        QVERIFY(manager->loadFeatures());
    }
    /// @p attributes of the root beside the name "main".
    void setRepository(const QByteArray& attributes, const QByteArray& content)
    {
        write("site/repo/repository.xml", "<r name='main' " + attributes + ">" + content + "</r>");
    }

    /// Below the folder of the case.
    QString path(const QString& file) const { return m_case + "/" + file; }
    void write(const QString& file, const QByteArray& bytes) const
    {
        QFile target(path(file));
        QVERIFY(QFileInfo(target).dir().mkpath(".") && target.open(QIODevice::WriteOnly));
        QCOMPARE(target.write(bytes), bytes.size());
    }

    /// How many warnings and errors since @p since contain @p part.
    static int logged(const QString& part, int since = 0)
    {
        int count = 0;
        for (const cLogEntry& entry : cLogCentral::history().mid(since))
            count += entry.channel == "ConfigurationMgr" && entry.level != debugInfo && entry.message.contains(part);
        return count;
    }
    static QString text(const cJsonValue& value)
    {
        QString text;
        QTextStream stream(&text);
        value.serialize(stream);
        stream.flush();
        return text;
    }

    SettingsSandbox sandbox;
    cPluginMgr plugins;
    QScopedPointer<cConfigurationMgr> manager{new cConfigurationMgr(plugins)};
    cUpdateMgr updates;

private:
    QString m_case;
};
