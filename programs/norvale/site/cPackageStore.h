#pragma once

#include "plugins/cManifest.h"

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <optional>

class cFindings;
class cSiteFetcher;

/// The packages and setup programs of a site. Each is fetched once, whoever names it and however often; what is kept of
/// it is what there is to compare.
class cPackageStore
{
public:
    struct File
    {
        bool isThere = false;
        QString reason; ///< why it is not
        qint64 size = 0;
        QByteArray hash;        ///< SHA-1
        bool isPackage = false; ///< the installer would take it
        QString name;           ///< of the plugin; this and the rest only for a package
        cVersion version;
        std::optional<cManifest> manifest;
    };

    explicit cPackageStore(cSiteFetcher& fetcher) : m_fetcher(fetcher) {}

    /// What is wrong with the package in itself is added to @p findings when it is fetched.
    const File& package(const QUrl& url, cFindings& findings);

    /// A file that is no package.
    const File& file(const QUrl& url);

    int count() const { return m_files.size(); }

private:
    bool fetch(const QUrl& url, QByteArray* bytes, File& file);

    cSiteFetcher& m_fetcher;
    QHash<QUrl, File> m_files;
};
