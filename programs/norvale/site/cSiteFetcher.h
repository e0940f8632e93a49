#pragma once

#include "config/cDownloader.h"

/// Fetches the files of a site, which is a folder of this machine or lies on a server, as an installation does.
class cSiteFetcher
{
public:
    /// @p place is a URL or the path of a folder; "site.xml" behind it is dropped.
    static QUrl siteUrl(const QString& place);

    /// What people read: the path of a local file, else the URL.
    static QString nameOf(const QUrl& url);

    /// @param limit the most bytes that are taken.
    [[nodiscard]] bool fetch(const QUrl& url, qint64 limit, QByteArray* bytes);

    /// Why the last fetch() failed; without the URL.
    QString errorString() const { return m_downloader.errorString(); }

private:
    cDownloader m_downloader;
};
