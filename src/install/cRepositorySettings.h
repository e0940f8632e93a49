#pragma once

#include "core/Settings.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

class cFeatureCatalogue;

/**
 * Name and version of the installed repository in the machine-wide settings, written so that they are on the disk, and
 * put back when what comes after fails.
 */
class cRepositorySettings
{
public:
    /// Takes the values as they are now.
    cRepositorySettings();

    /// What is to be stored once @p offered is installed. Without a feature taken from it, only a newer version of the
    /// same repository counts; with one, no older version of the same repository does. What its root does not name
    /// stays.
    void setTarget(const cFeatureCatalogue& offered, bool isTaken);
    /// Nothing is to be stored: a name without its version, or a version that is not whole, would mislead a check.
    void keep()
    {
        m_newName = m_oldName;
        m_newVersion = m_oldVersion;
    }
    bool hasChange() const { return m_newName != m_oldName || m_newVersion != m_oldVersion; }
    /// False when they cannot be written whatever is tried; errorString() then says why.
    [[nodiscard]] bool isWritable();

    /// Stores the target. False when the system refuses; errorString() then says why, and the old values are there.
    [[nodiscard]] bool store();
    /// Puts the old values back. False as above.
    bool restore();
    /// Removes both values. False as above.
    [[nodiscard]] bool remove();

    QString errorString() const { return m_errorString; }

private:
    bool write(const QVariant& name, const QVariant& version);

    cMachineSettings m_settings;
    QVariant m_oldName; // invalid when there is none, as the other values
    QVariant m_oldVersion;
    QVariant m_newName;
    QVariant m_newVersion;
    QString m_errorString;
};
