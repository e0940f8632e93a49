#pragma once

#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>

/**
 * Redirects every settings store and data folder of the process into a temporary folder for as long as it lives.
 *
 * Construct it before the first QSettings and before anything asks QStandardPaths: the user's and the machine's real
 * settings are then neither read nor written. Child processes inherit the redirection through the environment.
 * On Windows settings and data folders stay where they are, are emptied before and after, and no two sandboxes may live
 * at a time; where the product is installed, the tests do not run.
 */
class SettingsSandbox
{
public:
    SettingsSandbox();
    ~SettingsSandbox();

    SettingsSandbox(const SettingsSandbox&) = delete;
    SettingsSandbox& operator=(const SettingsSandbox&) = delete;

    /// Absolute path of the temporary folder; fixtures may put files of their own below it.
    QString path() const;

    /// Makes the data folder of the process, and of children that it starts, an empty one; below @p folder where the
    /// system has no place of its own for it.
    void useDataBelow(const QString& folder);

    /// Stores @p folder as the record of the installation folder.
    void setInstallDir(const QString& folder);

    /// Writes one value of the machine-wide product settings; an invalid one removes it.
    void setMachineValue(const QString& key, const QVariant& value);

    /// Removes one value of the machine-wide product settings.
    void removeMachineValue(const QString& key) { setMachineValue(key, QVariant()); }

private:
    QTemporaryDir m_dir;
};
