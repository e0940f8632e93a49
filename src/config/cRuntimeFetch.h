#pragma once

#include "config/cFetch.h"

class cDownloader;
class cFetchQueue;
class cRuntimeInfo;
class cTrustedSite;

/**
 * Brings the setup program of a newer runtime into the data folder: under its own name once it is whole and matches its
 * hash, and beside that name, as the part of a `cFetch`, until then.
 */
class cRuntimeFetch
{
public:
    /// What it works with; all must live as long as the fetch, and are the caller's to cancel.
    struct Means
    {
        cFetchQueue& queue;
        cDownloader& downloader; // of metadata
        cTrustedSite* site;      // which vouches for the setup program; null when no root of trust is pinned
    };

    cRuntimeFetch(const cRuntimeInfo& runtime, const Means& means) : m_runtime(runtime), m_means(means) {}

    /// True when the setup program lies there, fetched now or before. What lay there under its name stays otherwise.
    /// Serves the events of the thread meanwhile.
    [[nodiscard]] bool run();

    /// Absolute path of the setup program, from a successful run() on.
    QString path() const { return m_path; }

    /// Why run() failed.
    QString errorString() const { return m_errorString; }

private:
    bool isThere() const;
    bool fetch();
    QString refusal(const QByteArray& sha256, qint64 length) const;
    void removeParts(const QString& but) const;
    bool fail(const QString& reason);

    const cRuntimeInfo& m_runtime;
    const Means m_means;
    QString m_path;
    QString m_errorString;
};
