#pragma once

#include "config/cDownloader.h"
#include "trust/ITrustSource.h"

#include <QtCore/QUrl>

/// Metadata from a URL: that of a site's "tuf" folder, over the network or on the local disk.
class cTrustDownload : public ITrustSource
{
public:
    /// @p base is the folder. The downloader is the caller's to cancel and to give rates, and must live as long as this
    /// object; each fetch sets its size limit.
    cTrustDownload(const QUrl& base, cDownloader& downloader);

    void expect(const QString& name, qint64 limit) override;
    Answer fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason) override;

    /// The URL of the file at the path @p name below @p base, whatever characters its parts have.
    [[nodiscard]] static QUrl urlOf(const QUrl& base, const QString& name);

    /// Whether a transfer of @p url that failed with @p error, of the downloader, has found that there is no such file.
    [[nodiscard]] static bool isAbsent(const QUrl& url, int error);

private:
    QUrl prepare(const QString& name, qint64 limit);

    QUrl m_base;
    cDownloader& m_downloader;
};
