#pragma once

#include <QtCore/QByteArray>

/// One file of an archive that a test builds; what is not set is as it should be.
struct ZipFile
{
    QByteArray name;
    QByteArray data; // as it lies in the archive
    quint32 uncompressedSize;
    quint16 method = 8;
    qint64 centralSize = -1; // the compressed size that the central record states
    qint64 localSize = -1;   // the one that the local header states
    qint64 localOffset = -1;
    quint32 signature = 0x02014b50;
    int nameLength = -1;
    quint32 crc = 0;
};

ZipFile deflated(const QByteArray& name, const QByteArray& content);
ZipFile stored(const QByteArray& name, const QByteArray& content);

/// @p content as a raw deflate stream.
QByteArray deflate(const QByteArray& content);

/// What an archive states at its end.
struct ZipEnd
{
    QByteArray comment;
    int total = -1;
    qint64 directoryOffset = -1;
    int commentLength = -1;
};

QByteArray buildZip(const QList<ZipFile>& files, const ZipEnd& end = ZipEnd());
