#include "isolation/Frames.h"

#include "version/MetaTypes.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtCore/QtEndian>

#include <cstring>

namespace {

double numberOf(quint64 bits)
{
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

QVariant integer(int type, qlonglong number)
{
    if (type == QMetaType::Int)
        return int(number);
    QVariant value(number);
    return MetaTypes::convert(value, type) ? value : QVariant();
}

} // namespace

cFrameReader::cFrameReader(const QByteArray& frame) : m_bytes(frame), m_at(FrameHeader)
{
    m_isSound = frame.size() >= FrameHeader;
    if (!m_isSound)
        return;
    m_kind = FrameKind(frame.at(4));
    m_id = qFromLittleEndian<quint32>(frame.constData() + 5);
    m_within = qFromLittleEndian<quint32>(frame.constData() + 9);
}

bool cFrameReader::has(qint64 size)
{
    m_isSound = m_isSound && size <= m_bytes.size() - m_at;
    return m_isSound;
}

quint8 cFrameReader::byte()
{
    return has(1) ? quint8(m_bytes.at(m_at++)) : 0;
}

quint32 cFrameReader::number()
{
    if (!has(4))
        return 0;
    m_at += 4;
    return qFromLittleEndian<quint32>(m_bytes.constData() + m_at - 4);
}

quint64 cFrameReader::wide()
{
    if (!has(8))
        return 0;
    m_at += 8;
    return qFromLittleEndian<quint64>(m_bytes.constData() + m_at - 8);
}

QString cFrameReader::text()
{
    const qint64 size = number();
    if (!has(size * qint64(sizeof(QChar))))
        return QString();
    QString text(int(size), Qt::Uninitialized);
    std::memcpy(static_cast<void*>(text.data()), m_bytes.constData() + m_at, size_t(size) * sizeof(QChar));
    m_at += int(size) * int(sizeof(QChar));
    return text;
}

QByteArray cFrameReader::bytes()
{
    const qint64 size = number();
    if (!has(size))
        return QByteArray();
    m_at += int(size);
    return m_bytes.mid(m_at - int(size), int(size));
}

int cFrameReader::count()
{
    const qint64 count = number();
    return has(count) ? int(count) : 0;
}

QVariant cFrameReader::value(int depth)
{
    const int type = byte();
    m_isSound = m_isSound && depth <= FrameValues::MaxDepth;
    if (!m_isSound)
        return QVariant();
    switch (type) {
    case QMetaType::UnknownType:
        return QVariant();
    case QMetaType::Nullptr:
        return QVariant::fromValue(nullptr);
    case QMetaType::Bool:
        return wide() != 0;
    case QMetaType::Float:
        return QVariant::fromValue(float(numberOf(wide())));
    case QMetaType::Double:
        return numberOf(wide());
    case QMetaType::QString:
        return text();
    case QMetaType::QByteArray:
        return bytes();
    case QMetaType::QUrl:
        return QUrl::fromEncoded(bytes());
    case QMetaType::QDate:
        return QDate::fromJulianDay(qint64(wide()));
    case QMetaType::QTime: {
        const qint64 time = qint64(wide());
        return time < 0 ? QTime() : QTime::fromMSecsSinceStartOfDay(int(time));
    }
    case QMetaType::ULong:
        return QVariant::fromValue(ulong(wide()));
    case QMetaType::ULongLong:
        return wide();
    case FrameValues::JsonTag:
        return QVariant::fromValue(json(depth));
    case QMetaType::QDateTime:
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return container(type, depth);
    default:
        m_isSound = FrameValues::canTravel(type);
        return m_isSound ? integer(type, qlonglong(wide())) : QVariant();
    }
}

QVariant cFrameReader::container(int type, int depth)
{
    if (type == QMetaType::QDateTime)
        return dateTime();
    QStringList texts;
    QVariantList list;
    QVariantMap map;
    QVariantHash hash;
    for (int left = count(); left > 0 && m_isSound; --left) {
        const QString key = type == QMetaType::QVariantList ? QString() : text();
        if (type == QMetaType::QStringList)
            texts.append(key);
        else if (type == QMetaType::QVariantList)
            list.append(value(depth + 1));
        else if (type == QMetaType::QVariantMap)
            map.insert(key, value(depth + 1));
        else
            hash.insert(key, value(depth + 1));
    }
    switch (type) {
    case QMetaType::QStringList:
        return texts;
    case QMetaType::QVariantList:
        return list;
    case QMetaType::QVariantMap:
        return map;
    default:
        return hash;
    }
}

QVariant cFrameReader::dateTime()
{
    const bool isValid = byte();
    const quint8 spec = byte();
    const qint64 time = qint64(wide());
    const int offset = int(number());
    const QByteArray zone = bytes();
    m_isSound = m_isSound && spec <= Qt::TimeZone;
    if (!isValid || !m_isSound)
        return QDateTime();
    if (spec == Qt::TimeZone)
        return QDateTime::fromMSecsSinceEpoch(time, QTimeZone(zone));
    return QDateTime::fromMSecsSinceEpoch(time, Qt::TimeSpec(spec), spec == Qt::OffsetFromUTC ? offset : 0);
}

cJsonValue cFrameReader::json(int depth)
{
    const auto type = JsonValueType(byte());
    m_isSound = m_isSound && depth <= FrameValues::MaxDepth;
    if (!m_isSound)
        return cJsonValue();
    switch (type) {
    case IntType:
        return qint32(number());
    case UIntType:
        return number();
    case DoubleType:
        return numberOf(wide());
    case StringType:
        return text();
    case BooleanType:
        return byte() != 0;
    case ArrayType: {
        cJsonValue array(ArrayType);
        for (int left = count(); left > 0 && m_isSound; --left)
            array.append(json(depth + 1));
        return array;
    }
    case ObjectType: {
        cJsonValue object(ObjectType);
        for (int left = count(); left > 0 && m_isSound; --left) {
            const QString key = text();
            object.insert(key, json(depth + 1));
        }
        return object;
    }
    default:
        m_isSound = type == NullType;
        return cJsonValue();
    }
}
