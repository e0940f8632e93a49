#pragma once

#include "HttpSite.h"
#include "MachineProgram.h"
#include "ToolFixture.h"

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

    /// The site's files without the hidden ones beside it and those of the signatures, which hold times.
    Tree offered() const
    {
        Tree files;
        for (const auto& file : m_tool.tree("site")) {
            if (!file.first.endsWith('/') && !file.first.startsWith('.') && !file.first.startsWith("tuf/"))
                files.insert(file);
        }
        return files;
    }

    /// Files and folders of the site.
    QStringList entries() const
    {
        QStringList names;
        for (const auto& entry : m_tool.tree("site"))
            names.append(entry.first);
        // On Windows a lock into which its owner's name could not be written stays. The next run takes it.
        names.removeOne(".norvale.lock");
        return names;
    }

    /// Puts the site on the server. @return its address.
    QString uploadTo(const HttpSite& server) const
    {
        return restoreTree(server.folder(), m_tool.tree("site")) ? server.url().toString() : "not uploaded";
    }

    void shell(const QString& script, const QString& folder = QString()) const
    {
        QCOMPARE(MachineProgram::execute("sh", {"-ec", script}, m_tool.path(folder)), 0);
    }

    Ended check(const QString& site = "site") const { return m_tool.run("site check --strict " + site); }

    /// That a check ends so, and tells of @p said.
    void verifyCheck(int code, const QString& said) const
    {
        const Ended checked = check();
        QCOMPARE(checked.code, code);
        QVERIFY2((checked.output + checked.reasons).contains(said), qPrintable(checked.output + checked.reasons));
    }

    /// That norvale site @p words, after what the shell does, ends so, tells of @p said, and changes nothing.
    void verifyRefusal(const QString& shell, const QString& words, int code, const QString& said) const
    {
        this->shell(shell);
        const Tree before = m_tool.tree();
        const Ended ended = m_tool.run("site " + words);
        QCOMPARE(ended.code, code);
        QVERIFY2((ended.output + ended.reasons).contains(said), qPrintable(ended.output + ended.reasons));
        QVERIFY(m_tool.tree() == before);
    }

    QByteArray repository() const { return m_tool.read("site/main/repository.xml"); }
};
