#pragma once

#include "SettingsSandbox.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Runs the real program as a child process, on files below a temporary folder.
class ToolFixture
{
public:
    struct Ended
    {
        int code; ///< -1 when the program crashed or did not end
        QString output;
        QString reasons;
    };

    /// Runs norvale with @p arguments in the fixture's folder.
    Ended run(const QStringList& arguments, const QMap<QString, QString>& environment = {}) const;
    /// The same with the words of @p line.
    Ended run(const QString& line) const { return run(line.split(QLatin1Char(' '), Qt::SkipEmptyParts)); }

    /// A fresh empty folder for the test; relative paths are below it.
    void begin();
    QString path(const QString& name = QString()) const;
    void write(const QString& name, const QByteArray& bytes) const;
    QByteArray read(const QString& name) const;

    /// The folder of a sound plugin, with a library and what @p more gives (name to content).
    QString makePlugin(const QString& name, const QString& version, const QString& inner = QString(),
                       const QMap<QString, QByteArray>& more = {}) const;

    /// Its package, made by norvale pack.
    QString makePackage(const QString& name, const QString& version, const QString& inner = QString()) const;

    /// Names and contents of all files below @p name.
    QMap<QString, QByteArray> tree(const QString& name) const;

    static QByteArray manifest(const QString& name, const QString& version, const QString& inner = QString());

private:
    SettingsSandbox m_sandbox;
    int m_count = 0;
};
