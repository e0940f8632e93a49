#pragma once

#include "MachineProgram.h"
#include "ToolFixture.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

static const QString NeedsA = "<dependencies><dependency>A</dependency></dependencies>";

/// Sites in a folder, made by the real program.
class SiteFixture
{
public:
    ToolFixture m_tool;

    Ended add(const QString& package, const QString& feature, const QString& version,
              const QString& more = QString()) const
    {
        return m_tool.run("site add site " + package + " --feature " + feature + " --feature-version " + version + " " +
                          more);
    }

    void makePackages()
    {
        m_tool.makePackage("A", "1.0.0");
        m_tool.makePackage("B", "1.0.0", NeedsA);
    }

    /// A site with the feature Core of plugin A, the feature F of plugin B, which depends on A, and a runtime.
    void makeSite()
    {
        makePackages();
        m_tool.write("setup.exe", "setup program");
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0").code, 0);
        const QString more = "--depends Core --display-name en-us=Eff --runtime setup.exe --runtime-version 2.0.0";
        QCOMPARE(add("B-1.00.000.zip", "F", "1.0.0", more).code, 0);
    }

    /// Beside it the status beta, with the version 2.0.0 of F after 1.0.0.
    void makeSiteWithBeta()
    {
        makeSite();
        m_tool.makePackage("B", "2.0.0", NeedsA);
        QCOMPARE(add("A-1.00.000.zip", "Core", "1.0.0", "--status beta").code, 0);
        QCOMPARE(add("B-1.00.000.zip", "F", "1.0.0", "--status beta --depends Core --display-name en-us=Eff").code, 0);
        QCOMPARE(add("B-2.00.000.zip", "F", "2.0.0", "--status beta").code, 0);
    }

    /// The site's files without those that hold times.
    QMap<QString, QByteArray> offered() const
    {
        QMap<QString, QByteArray> files = m_tool.tree("site");
        for (const QString& name : files.keys()) {
            if (name == "site/.retired.xml" || name.startsWith("site/tuf/"))
                files.remove(name);
        }
        return files;
    }

    /// Files and folders of the site.
    QStringList entries() const
    {
        QStringList names;
        for (QDirIterator it(m_tool.path("site"), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
             it.hasNext();)
            names.append(it.next());
        // On Windows a lock into which its owner's name could not be written stays. The next run takes it.
        names.removeOne(m_tool.path("site/.norvale.lock"));
        names.sort();
        return names;
    }

    static QJsonObject jsonOf(const Ended& ended) { return QJsonDocument::fromJson(ended.output.toUtf8()).object(); }

    void shell(const QString& script, const QString& folder = QString()) const
    {
        QCOMPARE(MachineProgram::execute("sh", {"-ec", script}, m_tool.path(folder)), 0);
    }

    Ended check(const QString& site = "site") const { return m_tool.run("site check --strict " + site); }
    QByteArray repository() const { return m_tool.read("site/main/repository.xml"); }
};
