#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/**
 * The folder of the trusted metadata: "root.json", "timestamp.json", "snapshot.json", "targets.json" and those of
 * delegated roles, each under its name without a version. A file is replaced whole, so that after a kill the old or the
 * new one stands there.
 */
class cTrustStore
{
public:
    explicit cTrustStore(const QString& folder) : m_folder(folder) {}

    const QString& folder() const { return m_folder; }
    /// The name of the document of @p role: percent-encoded, so that no role leads out of the folder or to another's.
    [[nodiscard]] static QString fileNameOf(const QString& role);
    /// The document of @p role; empty when there is none, or it cannot be read.
    [[nodiscard]] QByteArray load(const QString& role) const;
    [[nodiscard]] bool save(const QString& role, const QByteArray& bytes, QString* error);
    /// Removes it if it is there: after keys were exchanged, an attacker's version number must not stay.
    [[nodiscard]] bool forget(const QString& role, QString* error);

private:
    QString pathOf(const QString& role) const;

    QString m_folder;
};
