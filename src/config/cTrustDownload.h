#pragma once

#include "config/cDownloader.h"
#include "trust/ITrustSource.h"

#include <QtCore/QUrl>

/// Metadata from a URL: that of a site's "tuf" folder, over the network or on the local disk.
class cTrustDownload : public ITrustSource
{
public:
    /// @p base is the folder; the downloader is the caller's to cancel, and must live as long as this object.
    cTrustDownload(const QUrl& base, cDownloader& downloader);

    Answer fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason) override;

    /// The URL of @p name in @p base, each of its parts percent-encoded as one; slashes stay when @p name is a path.
    [[nodiscard]] static QUrl urlOf(const QUrl& base, const QString& name);

private:
    QUrl m_base;
    cDownloader& m_downloader;
};
