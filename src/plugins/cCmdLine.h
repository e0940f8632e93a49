#pragma once

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
    Q_PROPERTY(QString command READ command WRITE setCommand)
    Q_PROPERTY(QStringList params READ params WRITE setParams)
    Q_PROPERTY(QString condition READ condition WRITE setCondition)

public:
    cCmdLine() = default;
    cCmdLine(const cCmdLine& other);
    cCmdLine& operator=(const cCmdLine& other);

    /// The program to run, its variables expanded.
    const QString& command() const { return m_command; }
    void setCommand(const QString& command) { m_command = command; }

    /// The arguments in order, their variables expanded.
    const QStringList& params() const { return m_params; }
    void setParams(const QStringList& params) { m_params = params; }

    /// The condition as written in the manifest; empty when the line is always run.
    const QString& condition() const { return m_condition; }
    void setCondition(const QString& condition) { m_condition = condition; }

private:
    QString m_command;
    QStringList m_params;
    QString m_condition;
};
