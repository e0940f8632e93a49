#pragma once

#include "HttpSite.h"
#include "ToolFixture.h"

#define SUCCEEDS(call)                                                                                                 \
    do {                                                                                                               \
        const Ended ended = call;                                                                                      \
        QVERIFY2(ended.code == 0, qPrintable(ended.reasons));                                                          \
    } while (false)

#define REFUSES(call, reason)                                                                                          \
    do {                                                                                                               \
        const Ended ended = call;                                                                                      \
        QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));                                           \
        QCOMPARE(ended.code, 1);                                                                                       \
    } while (false)

/// A site whose metadata is made by tuf_site.py, and a client, norvale trust, that knows its first root.
class ForgedSite
{
public:
    /// Makes the site with @p steps, which may begin with a new() of their own, and a client that has not fetched yet.
    void begin(const QString& steps)
    {
        m_tool.begin();
        forge((steps.startsWith("new(") ? steps : "new(); " + steps) + "; mark(); save('/tuf/1.root.json')");
        QCOMPARE(run({"init", m_server.folder() + "/../1.root.json"}).code, 0);
        requests();
    }

    /// The same with a client that has fetched. The plain site is always the same, and so is what it leaves.
    void beginFetched(const QString& steps)
    {
        const bool isPlain = steps == "pass";
        if (!isPlain || m_fetched.empty()) {
            begin(steps);
            SUCCEEDS(refresh());
            if (isPlain)
                m_fetched = m_tool.tree("trust");
            return;
        }
        m_tool.begin();
        forge("new()");
        QVERIFY(QDir().mkpath(m_tool.path("trust")) && restoreTree(m_tool.path("trust"), m_fetched));
    }

    /// What the server has and the client then fetches is @p steps further.
    void forge(const QString& steps) { QCOMPARE(m_server.forge(steps), QString()); }

    Ended run(const QStringList& arguments)
    {
        const QString url = m_server.url("tuf").toString();
        return m_tool.run(QStringList{"trust", "--metadata-dir", "trust", "--metadata-url", url} + arguments);
    }
    Ended refresh() { return run({"refresh"}); }
    Ended download(const QStringList& targets)
    {
        QStringList arguments{"--target-base-url", m_server.url().toString(), "--target-dir", "targets"};
        for (const QString& target : targets)
            arguments << "--target-name" << target;
        return run(arguments + QStringList{"download"});
    }

    /// The versions that the client trusts, of root, timestamp, snapshot and targets: "1 2 2 2", a dash for none.
    QString versions() const
    {
        QStringList versions;
        for (const char* role : {"root", "timestamp", "snapshot", "targets"})
            versions << versionOf(m_tool.read(QString("trust/%1.json").arg(role)));
        return versions.join(' ');
    }
    static QString versionOf(const QByteArray& text)
    {
        const QJsonValue version = QJsonDocument::fromJson(text)["signed"]["version"];
        return version.isUndefined() ? "-" : QString::number(version.toVariant().toLongLong());
    }

    /// The requests since the last call, without what all have in common.
    QString requests()
    {
        forge("pass"); // answered after all requests that were made
        return m_server.takeRequests().join(' ').remove("/tuf/").remove(".json");
    }

    const ToolFixture& tool() const { return m_tool; }
    HttpSite& server() { return m_server; }

private:
    HttpSite m_server;
    ToolFixture m_tool;
    Tree m_fetched; // in the folder "trust"
};
