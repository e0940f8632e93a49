#pragma once

#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

/**
 * An HTTP server on a free port of 127.0.0.1 with a folder of its own, for as long as it lives. http_site.py, which it
 * runs, says which faults a path can ask for.
 */
class HttpSite
{
public:
    /// With @p isSecure it speaks HTTPS, under a certificate that nobody has signed. Where it does not start, the test
    /// program ends.
    explicit HttpSite(bool isSecure = false);
    ~HttpSite();

    HttpSite(const HttpSite&) = delete;
    HttpSite& operator=(const HttpSite&) = delete;

    /// The folder that is served; what is put there is there at the next request.
    QString folder() const { return m_folder.filePath(QStringLiteral("root")); }

    /// Writes a file below the folder, with the folders that lead to it.
    bool write(const QString& path, const QByteArray& bytes);

    /// Every request from now on has @p faults, such as "~delay=50"; "~" for none. Its own come before them.
    QString setFaults(const QString& faults) { return forge(faults); }

    /// Runs @p steps of tuf_site.py, which makes signed sites, honest and forged. @return why that failed; empty when
    /// it has not.
    QString forge(const QString& steps);

    /// The URL of @p path; @p faults such as "~cut=100" or "~chunked/~cut=60" come before it.
    QUrl url(const QString& path = QString(), const QString& faults = QString()) const;

    /// The URL of @p path as a file.
    QUrl fileUrl(const QString& path) const;

    /// The paths of the requests that have come since the last call, with their faults.
    QStringList takeRequests();

private:
    QStringList makeCertificate();

    QTemporaryDir m_folder;
    QProcess m_server;
    QStringList m_requests;
    int m_port = 0;
};
