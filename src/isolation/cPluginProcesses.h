#pragma once

#include "plugins/IPluginProcess.h"

#include <QtCore/QStringList>

/**
 * Where the program lies that plugins run in, and the library that it loads.
 */
class cPluginPrograms
{
public:
    /// Looked for beside the host's program, beside the library and in its place among installed programs, and in the
    /// installation's core folder; the library is this one.
    cPluginPrograms() = default;

    /// Exactly these.
    cPluginPrograms(const QString& program, const QString& library) : m_program(program), m_library(library) {}

    static QString programName();

    /// The folders that are looked into, in this order.
    QStringList places() const;

    /// The program's path; empty when there is none.
    QString program() const;
    QString library() const;

private:
    QString m_program;
    QString m_library;
};

/**
 * Runs plugins in processes of their own, for the plugin manager.
 */
class cPluginProcesses : public IPluginProcesses
{
public:
    explicit cPluginProcesses(const cPluginPrograms& programs = cPluginPrograms()) : m_programs(programs) {}

    std::unique_ptr<IPluginProcess> make(const cPluginId& id, const QString& folder) override;

private:
    const cPluginPrograms m_programs;
};
