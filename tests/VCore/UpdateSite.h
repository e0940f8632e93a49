#pragma once

#include "HostFixture.h"
#include "HttpSite.h"
#include "MachineProgram.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QRandomGenerator>

/// Version 1.0.0 of the feature "Core" with the plugin A is installed, and an update site has whatever the test puts
/// there, beside the packages and B-1.00.000.
class UpdateSite
{
protected:
    UpdateSite()
    {
        m_site.write("site.xml", "<site><repository config='release' status='release' platform='x64' update='main' "
                                 "content='.'/></site>");
        m_site.write("A-2.00.000.zip", package("A", "2.00.000", 100000));
        m_site.write("B-1.00.000.zip", package("B", "1.00.000", 0));
        m_site.write("run-2", "setup");
    }

    /// A fresh installation.
    void begin()
    {
        m_suite = m_fixture.makeSuite("Core", {{"A", ""}});
        m_fixture.useSuite(m_suite);
        QDir(dropbox()).removeRecursively();
        m_fixture.setMachineValue("ConfigMgr/RepositoryName", "main");
        m_fixture.setMachineValue("ConfigMgr/RepositoryVersion", "1.00.000");
        m_fixture.expect({"--update-sites", m_site.url().toString()}, ExitCode::Ok);
    }

    QString inSuite(const QString& path) const { return m_suite + '/' + path; }
    static QString dropbox()
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Varkel/VCore/Dropbox";
    }

    static QString pluginElement(const QString& name, const QString& version, const QByteArray& package,
                                 const QString& source = "%1-%2.zip")
    {
        const QByteArray hash = QCryptographicHash::hash(package, QCryptographicHash::Sha1).toHex();
        return QString("<plugin name='%1' version='%2' size='%3'><source>" + source +
                       "</source><hash method='sha1'>%4</hash></plugin>")
            .arg(name, version, QString::number(package.size()), QString::fromLatin1(hash));
    }
    static QString feature(const QString& name, const QString& version, const QString& plugins)
    {
        return QString("<feature name='%1' version='%2'><plugins>%3</plugins></feature>").arg(name, version, plugins);
    }

    /// An update of Core whose package is fetched as @p source; QString as the rows take it.
    QString update(const QString& source = "%1-%2.zip") const
    {
        return feature("Core", "2.0.0",
                       pluginElement("A", "2.00.000", readFile(m_site.folder() + "/A-2.00.000.zip"), source));
    }

    /// Puts a repository description onto the site.
    void publish(const QString& version, const QString& content)
    {
        const QString xml = QString("<repository name='main' version='%1'>%2</repository>").arg(version, content);
        QVERIFY(m_site.write("repository.xml", xml.toUtf8()));
    }

    /// Starts the host, which lists the plugin A in @p version, and ends it.
    void servesA(const QString& version)
    {
        QVERIFY(m_fixture.serve());
        QVERIFY(m_fixture.run("--list").output.contains(QRegularExpression("\nA +" + version)));
        QCOMPARE(m_fixture.quit(), 0);
    }

    HostFixture m_fixture;
    HttpSite m_site;
    QString m_suite;

private:
    /// A package whose @p size bytes beside the manifest no compression makes fewer.
    static QByteArray package(const QString& name, const QString& version, int size)
    {
        const QTemporaryDir folder;
        QByteArray noise(size, ' ');
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(noise.data()), size / 4);
        const QString manifest = "<m><plugin name='%1' version='%2' runtime_api_version='13'/></m>";
        writeFile(folder.filePath("Manifest.xml"), manifest.arg(name, version).toUtf8());
        writeFile(folder.filePath("fill"), noise);
        const QString zip = folder.filePath(name + ".zip");
        MachineProgram::execute("python3", {"-m", "zipfile", "-c", zip, "Manifest.xml", "fill"}, folder.path());
        return readFile(zip);
    }
};
