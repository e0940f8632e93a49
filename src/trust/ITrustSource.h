#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Where metadata comes from: a site, a folder. Implemented above, by whoever transfers.
class ITrustSource
{
public:
    enum Answer {
        Arrived,  ///< the bytes are there
        NotThere, ///< the source says that it has no such file
        Failed,   ///< anything else; the reason tells it
        TooLong   ///< it has more bytes than the limit
    };

    virtual ~ITrustSource() = default;

    /// Tells that the file @p name will be fetched, with that @p limit, if the one that is fetched before is not there;
    /// so both may be on their way at a time.
    virtual void expect(const QString& name, qint64 limit)
    {
        Q_UNUSED(name)
        Q_UNUSED(limit)
    }

    /// Fetches the file @p name of the metadata, such as "timestamp.json" or "3.root.json", not percent-encoded, and at
    /// most @p limit bytes of it: one that is longer is TooLong, and not read further. May serve events.
    virtual Answer fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason) = 0;
};
