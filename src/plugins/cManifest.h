#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * One command line of a manifest, to be run when the plugin is installed or uninstalled.
 *
 * A `QObject` so that install conditions can be shown it by its properties; copied field by field like a value.
 */
class cCmdLine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString command MEMBER m_command)
    Q_PROPERTY(QStringList params MEMBER m_params)
    Q_PROPERTY(QString condition MEMBER m_condition)

public:
    cCmdLine(const QString& command, const QStringList& params, const QString& condition)
        : m_command(command), m_params(params), m_condition(condition)
    {
    }
    cCmdLine(const cCmdLine& other)
        : QObject(), m_command(other.m_command), m_params(other.m_params), m_condition(other.m_condition)
    {
    }
    cCmdLine& operator=(const cCmdLine& other)
    {
        m_command = other.m_command;
        m_params = other.m_params;
        m_condition = other.m_condition;
        return *this;
    }

    /// The program to run, its variables expanded.
    const QString& command() const { return m_command; }

    /// The arguments in order, their variables expanded.
    const QStringList& params() const { return m_params; }

    /// The condition as written in the manifest; empty when the line is always run.
    const QString& condition() const { return m_condition; }

private:
    QString m_command;
    QStringList m_params;
    QString m_condition;
};

/**
 * What a plugin's manifest says, with the defaults of what it leaves out.
 */
struct cManifest
{
    qint32 apiVersion = 0;
    qint32 runtimeApiVersion = 0;
    bool autoload = false;
    bool isIsolated = false; // runs in a process of its own
    QString loadCategory;
    QString libraryPath; // folder, "/" and the file name without suffix; null when no library is declared
    QString entryFunction;
    cJsonValue params;
    QStringList dependencies;
    QStringList services;
    QList<cCmdLine> installCommandLines;
    QList<cCmdLine> uninstallCommandLines;
};
