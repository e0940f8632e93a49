#pragma once

#include "config/cTransfer.h"

#include <QtCore/QObject>
#include <QtCore/QVector>

#include <functional>

/**
 * One file that is fetched from the first of its sources that has it.
 *
 * What arrives goes to "PATH.part" at once, hashed on the way, with the place and the validator it came from in
 * "PATH.part.origin"; under PATH the file stands once it is whole, matches its hash and is flushed. So memory does not
 * grow with the file, and what a cut, a cancel or a kill has left goes on where it stopped: with `Range` and
 * `If-Range`, from the source it came from. A server that answers with the whole, another validator, or a whole that
 * does not match its hash makes the file start anew, once a source.
 *
 * A fetch is run by a `cFetchQueue`, on the queue's thread.
 */
class cFetch : public QObject
{
    Q_OBJECT

public:
    struct Source
    {
        QUrl url;
        qint64 limit = 0; // the most bytes that are accepted, 0 for any number
    };

    struct Order
    {
        QString name; // what it is, for the log: "Name-1.02.003"
        QString path; // absolute; its folder is made
        QVector<Source> sources;
        QByteArray sha1; // what the whole must have
        /// Why a whole with that SHA-256 and length is refused all the same; empty when it is not. May be null.
        std::function<QString(const QByteArray& sha256, qint64 length)> refusal;
    };

    explicit cFetch(const Order& order) : m_order(order) {}

    cTransfer::State state() const;
    bool hasSucceeded() const { return state() == cTransfer::Succeeded; }

    /// The bytes that are there, those of earlier runs included, and those that came over the network in this one.
    qint64 bytesThere() const;
    qint64 bytesFetched() const;

    /// Of the last source that was tried, as `cTransfer` has them. Each refusal has had its line in the log.
    int error() const;
    QString errorString() const;

    /// Whether a part of an earlier run lies beside @p path.
    [[nodiscard]] static bool hasPart(const QString& path);
    /// The names of the files that a fetch leaves beside @p path while it is not whole.
    [[nodiscard]] static QStringList restsOf(const QString& path);

signals:
    /// Of the whole file; a restart begins again at 0.
    void progress(qint64 bytesThere, qint64 bytesTotal);
    /// Succeeded, failed or cancelled.
    void done();

private:
    friend class cFetchQueue;

    const Order m_order;
};
