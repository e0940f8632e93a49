#pragma once

#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

/// An installation in a temporary folder: plugins that depend on each other, each with a copy of the small plugin's
/// library. Processes that are given its environment() find it as the installed suite, and no other settings.
class cSampleSuite
{
public:
    explicit cSampleSuite(int count);

    QProcessEnvironment environment() const;

    /// Where a process that was given the environment finds the installation.
    static QString rootOfThisProcess();

    /// The folders of the plugins in an order in which they could start.
    static QStringList folders(const QString& root, int count);

private:
    void installPlugin(int number) const;
    void writeFeatures(int count) const;
    void writeInstallDir() const;
    void write(const QString& file, const QByteArray& bytes) const;

    QTemporaryDir m_dir;
};
