#pragma once

#include "config/cDownloader.h"
#include "trust/cTrustTarget.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

/// Brings targets into a folder: no byte more than is vouched for is read, and what is not the target leaves nothing.
class cTargetFetch
{
public:
    /// The targets lie below @p base; with @p hasHashNames each under the name that its hash begins, too.
    cTargetFetch(const QUrl& base, bool hasHashNames, const QString& folder);

    /// Puts the target into the folder, unless it is there: its path, percent-encoded, is the file's name. Where the
    /// server has no file of the name with the hash, the one with the plain name is taken: the hash decides.
    [[nodiscard]] bool fetch(const cTrustTarget& target);

    /// Whether the last target was in the folder before.
    bool wasThere() const { return m_wasThere; }
    QString errorString() const { return m_errorString; }

private:
    bool isThere(const QString& path, const cTrustTarget& target) const;
    bool fetch(const QUrl& url, const cTrustTarget& target, const QString& path);

    QUrl m_base;
    bool m_hasHashNames;
    QString m_folder;
    cDownloader m_downloader;
    bool m_wasThere = false;
    QString m_errorString;
};
