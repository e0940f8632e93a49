#include "isolation/Frames.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cstring>

namespace {

quint64 bitsOf(double number)
{
    quint64 bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

} // namespace

cFrameWriter::cFrameWriter(FrameKind kind)
{
    m_bytes.reserve(256); // most calls
    m_bytes.resize(FrameHeader);
    m_bytes[4] = char(kind);
}

void cFrameWriter::number(quint32 number)
{
    const quint32 little = qToLittleEndian(number);
    m_bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

void cFrameWriter::wide(quint64 number)
{
    const quint64 little = qToLittleEndian(number);
    m_bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

void cFrameWriter::text(const QString& text)
{
    number(quint32(text.size()));
    m_bytes.append(reinterpret_cast<const char*>(text.constData()), int(text.size() * int(sizeof(QChar))));
}

void cFrameWriter::bytes(const QByteArray& bytes)
{
    number(quint32(bytes.size()));
    m_bytes.append(bytes);
}

bool cFrameWriter::value(const QVariant& value, int depth)
{
    const int type = value.userType();
    if (depth > FrameValues::MaxDepth)
        return false;
    if (type == FrameValues::jsonType()) {
        byte(FrameValues::JsonTag);
        return json(value.value<cJsonValue>(), depth);
    }
    if (type != QMetaType::UnknownType && !FrameValues::canTravel(type))
        return false;
    byte(quint8(type));
    switch (type) {
    case QMetaType::UnknownType: // a variant without a value
    case QMetaType::Nullptr:
        return true;
    case QMetaType::Float:
    case QMetaType::Double:
        wide(bitsOf(value.toDouble()));
        return true;
    case QMetaType::QString:
        text(*static_cast<const QString*>(value.constData()));
        return true;
    case QMetaType::QByteArray:
        bytes(*static_cast<const QByteArray*>(value.constData()));
        return true;
    case QMetaType::QUrl:
        bytes(value.toUrl().toEncoded());
        return true;
    case QMetaType::QDate:
        wide(quint64(value.toDate().toJulianDay()));
        return true;
    case QMetaType::QTime:
        wide(value.toTime().isValid() ? quint64(value.toTime().msecsSinceStartOfDay()) : quint64(-1));
        return true;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        wide(value.toULongLong());
        return true;
    case QMetaType::QDateTime:
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return container(value, depth);
    default:
        wide(quint64(value.toLongLong()));
        return true;
    }
}

bool cFrameWriter::container(const QVariant& value, int depth)
{
    switch (value.userType()) {
    case QMetaType::QDateTime: {
        QDateTime time = value.toDateTime();
        if (!time.isValid())
            time = QDateTime(); // one invalid time is as good as another
        byte(time.isValid());
        byte(quint8(time.timeSpec()));
        wide(quint64(time.toMSecsSinceEpoch()));
        number(quint32(time.offsetFromUtc()));
        bytes(time.timeSpec() == Qt::TimeZone ? time.timeZone().id() : QByteArray());
        return true;
    }
    case QMetaType::QStringList: {
        const QStringList list = value.toStringList();
        number(quint32(list.size()));
        for (const QString& item : list)
            text(item);
        return true;
    }
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        number(quint32(list.size()));
        for (const QVariant& item : list) {
            if (!this->value(item, depth + 1))
                return false;
        }
        return true;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        number(quint32(map.size()));
        for (auto it = map.begin(); it != map.end(); ++it) {
            if (!member(it.key(), it.value(), depth))
                return false;
        }
        return true;
    }
    default: {
        const QVariantHash hash = value.toHash();
        number(quint32(hash.size()));
        QStringList keys = hash.keys();
        std::sort(keys.begin(), keys.end()); // the same value makes the same bytes
        for (const QString& key : qAsConst(keys)) {
            if (!member(key, hash.value(key), depth))
                return false;
        }
        return true;
    }
    }
}

bool cFrameWriter::member(const QString& key, const QVariant& value, int depth)
{
    text(key);
    return this->value(value, depth + 1);
}

bool cFrameWriter::json(const cJsonValue& value, int depth)
{
    if (depth > FrameValues::MaxDepth)
        return false;
    byte(quint8(value.type()));
    switch (value.type()) {
    case IntType:
        number(quint32(value.toInt()));
        return true;
    case UIntType:
        number(value.toUInt());
        return true;
    case DoubleType:
        wide(bitsOf(value.toDouble()));
        return true;
    case StringType:
        text(value.toString());
        return true;
    case BooleanType:
        byte(value.toBool());
        return true;
    case ArrayType:
        number(value.size());
        for (int i = 0; i < int(value.size()); ++i) {
            if (!json(value[i], depth + 1))
                return false;
        }
        return true;
    case ObjectType:
        number(value.size());
        for (const QString& key : value.keys()) {
            text(key);
            if (!json(value[key], depth + 1))
                return false;
        }
        return true;
    default:
        return true;
    }
}

const QByteArray& cFrameWriter::finish(quint32 id, quint32 within)
{
    char* const header = m_bytes.data();
    qToLittleEndian<qint32>(m_bytes.size() - 4, header);
    qToLittleEndian(id, header + 5);
    qToLittleEndian(within, header + 9);
    return m_bytes;
}
