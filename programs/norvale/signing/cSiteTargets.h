#pragma once

#include "config/cFeatureCatalogue.h"
#include "trust/cTrustMetadata.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>

/**
 * The files of a site that are signed: site.xml, each repository.xml, and the packages and setup programs that these
 * offer or have offered and not retired, and the patches of what is offered. What is only lying there is not.
 */
class cSiteTargets
{
public:
    /// @p before are the targets that are signed by now. A package never changes in place, so what stands there is
    /// taken from it and not read again.
    cSiteTargets(const QString& site, const QHash<QString, cTrustTarget>& before);

    /// @return false when something that is offered is not there, has changed since it was signed, or lies elsewhere,
    /// so that nobody can vouch for it; errorString() says which.
    [[nodiscard]] bool collect();

    /// As "targets" of the metadata.
    const QJsonObject& json() const { return m_json; }

    /// The bytes of the descriptions, which change in place, by the path of their copy that does not:
    /// "main/SHA256.repository.xml".
    const QMap<QString, QByteArray>& copies() const { return m_copies; }

    /// The path of the copy of the description @p path whose SHA-256 is @p sha256.
    static QString copyOf(const QString& path, const QByteArray& sha256);
    static bool isDescription(const QString& path);

    QString errorString() const { return m_errorString; }

private:
    bool addDescription(const QString& path, QByteArray* bytes);
    bool addRepository(const QString& content);
    bool addPlugin(const cFeaturePlugin& plugin, const QString& content, const QString& repository);
    bool addDeltas(const cFeaturePlugin& plugin, const QString& content, const QString& repository);
    bool addFile(const QString& path, const QByteArray& sha1, const QString& repository);
    void addEarlier(const QString& content);
    QString pathIn(const QString& content, const QString& source) const;
    QString fullPath(const QString& path) const { return m_site + QLatin1Char('/') + path; }
    bool fail(const QString& reason);

    QString m_site; // absolute
    const QHash<QString, cTrustTarget>& m_before;
    QJsonObject m_json;
    QMap<QString, QByteArray> m_copies;
    QString m_errorString;
};
