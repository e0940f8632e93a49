#include "zip/Inflate.h"

#include "zip/cInflater.h"
#include "zip/cZipReader.h"

#include <QtCore/QString>

namespace {

bool fail(QString* error, const QString& reason)
{
    if (error)
        *error = reason;
    return false;
}

} // namespace

bool Inflate::inflateRaw(const QByteArray& in, qint64 limit, QByteArray* out, QString* error)
{
    out->clear();
    const qint64 held = qBound<qint64>(0, limit, cZipReader::MaxArray);
    cInflater inflater(in.constData(), in.size());
    // One byte more than allowed tells a stream that is too large from one that is cut off.
    const cInflater::Status status = inflater.run(held + 1);
    if (inflater.produced() > held)
        return fail(error, QStringLiteral("the data inflate to more than %1 bytes").arg(held));
    if (status != cInflater::Complete)
        return fail(error, status == cInflater::CutOff ? QStringLiteral("the deflated data are cut off")
                                                       : QStringLiteral("the deflated data are damaged"));
    *out = inflater.takeResult();
    return true;
}

QByteArray Inflate::inflateEntry(const char* in, int inSize, quint32 expectedSize)
{
    cInflater inflater(in, inSize);
    qint64 bufferSize = qMax<qint64>(expectedSize, 1);
    while (true) {
        const cInflater::Status status = inflater.run(qMin<qint64>(bufferSize, cZipReader::MaxArray));
        if (status == cInflater::Complete)
            return inflater.takeResult();
        if (status != cInflater::BufferFull || bufferSize >= cZipReader::MaxArray)
            return QByteArray();
        bufferSize *= 2;
    }
}
