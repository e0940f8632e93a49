#pragma once

#include <QtCore/QString>

class QFile;
class QFileDevice;
class cDownloader;
class cRuntimeInfo;
class cTrustedSite;

/**
 * Brings the setup program of a newer runtime into the data folder: under its own name once it is whole and matches its
 * hash, and beside that name, as "name.part", until then.
 */
class cRuntimeFetch
{
public:
    /// All must live as long as this object; the downloader is the caller's to cancel. @p site vouches for the setup
    /// program; null when no root of trust is pinned.
    cRuntimeFetch(const cRuntimeInfo& runtime, cDownloader& downloader, cTrustedSite* site = nullptr);

    /// True when the setup program lies there, fetched now or before. What lay there under its name stays otherwise.
    [[nodiscard]] bool run();

    /// Absolute path of the setup program, from a successful run() on.
    QString path() const { return m_path; }

    /// Why run() failed.
    QString errorString() const { return m_errorString; }

private:
    bool isThere() const;
    /// Why the file is not the setup program; empty when it is.
    QString faultOf(QFileDevice& file) const;
    bool download();
    bool transferTo(QFile& part);
    bool moveIntoPlace(QFile& part);
    bool failToWrite(const QString& path, const QString& reason);
    bool fail(const QString& reason);

    const cRuntimeInfo& m_runtime;
    cDownloader& m_downloader;
    cTrustedSite* const m_site;
    QString m_path;
    QString m_errorString;
};
