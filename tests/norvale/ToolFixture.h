#pragma once

#include "ChildRun.h"
#include "Files.h"
#include "Platform.h"
#include "Rows.h"
#include "SettingsSandbox.h"
#include "Tree.h"

#include <Norvale/cVersion.h>

/// Runs the real program as a child process, on files below a temporary folder.
class ToolFixture
{
public:
    /// Runs norvale with @p arguments, or the words of @p line, in the fixture's folder.
    Ended run(const QStringList& arguments, const Variables& variables = {}) const
    {
        return runToEnd(NORVALE_PROGRAM, arguments, variables, path());
    }
    Ended run(const QString& line) const { return run(wordsOf(line)); }
    static QJsonObject jsonOf(const Ended& ended) { return QJsonDocument::fromJson(ended.output.toUtf8()).object(); }

    /// A fresh empty folder for the test; relative paths are below it.
    void begin()
    {
        ++m_count;
        QDir().mkpath(path());
    }
    QString path(const QString& name = "") const
    {
        return QString("%1/%2/%3").arg(m_sandbox.path(), QString::number(m_count), name);
    }
    void write(const QString& name, const QByteArray& bytes) const { writeFile(path(name), bytes); }
    QByteArray read(const QString& name) const { return readFile(path(name)); }

    /// The folder of a sound plugin, with a library and what @p more gives (name to content).
    QString makePlugin(const QString& name, const QString& version, const QString& inner = "",
                       const QMap<QString, QByteArray>& more = {}) const
    {
        const QString folder = name + '-' + cVersion(version).toString();
        write(folder + "/Manifest.xml", manifest(name, version, inner));
        // what two versions have in common is most of it
        QByteArray library(3000, 'x');
        std::generate(library.begin(), library.end(),
                      [random = QRandomGenerator(qHash(name, 1))]() mutable { return char(random.bounded('0', 'z')); });
        write(folder + '/' + Platform::library(name), "the library of " + folder.toLatin1() + library);
        for (auto it = more.begin(); it != more.end(); ++it)
            write(folder + '/' + it.key(), it.value());
        return folder;
    }

    /// Its package, made by norvale pack.
    void makePackage(const QString& name, const QString& version, const QString& inner = "") const
    {
        QCOMPARE(run({"pack", makePlugin(name, version, inner)}).code, 0);
    }

    Tree tree(const QString& name = "") const { return treeOf(QDir::cleanPath(path(name))); }

    static QByteArray manifest(const QString& name, const QString& version, const QString& inner = "")
    {
        const QString text = "<manifest><plugin name=\"%1\" version=\"%2\" runtime_api_version=\"13\"><start>"
                             "<library filename=\"%1\" function=\"createPlugin\"/></start>%3</plugin></manifest>\n";
        return text.arg(name, version, inner).toUtf8();
    }

    /// As much of a library as tells which Qt it is built with.
    static QByteArray library(int qtMajor)
    {
        return readFile(QString(NORVALE_SOURCE "/fuzz/library/corpus/elf") + (qtMajor == 6 ? "64" : "32-big-endian"));
    }

private:
    SettingsSandbox m_sandbox;
    int m_count = 0;
};
