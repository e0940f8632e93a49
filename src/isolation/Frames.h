#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

// Services may take and return the library's JSON values.
Q_DECLARE_METATYPE(cJsonValue)

/**
 * What the suite and a plugin's process say to each other.
 *
 * A frame is that of cMessageSocket: its length as a signed 32-bit number, little-endian, then so many bytes. They
 * begin with the kind (one byte), the number of the request, and the number of the request of the other side that this
 * one is made in (0 for none), 32 bits each. An answer carries the number of its request.
 *
 * Values travel exactly, with their types: a type's number, then its content. Both ends are of one library.
 */
enum class FrameKind : quint8 {
    Answer,

    // To the plugin's process.
    Load,  // name, version, folder; the names of the host's application and organisation
    Start, // nothing
    Stop,  // nothing
    Call,  // number of the service, number of the method, values

    // To the suite.
    Register,   // number of the service, its id, its methods
    Unregister, // number of the service
    Invoke,     // id of the service, method, type of the result, values with their types
    Exists,     // id of a service
    List,       // nothing; the ids of all services
    Listen,     // event set; from now on its events are sent
    LoadPlugin, // whether a service is named, and the name
    Log,        // channel, level, text; has no answer

    Event, // either way: event set, event, values with their types; has no answer
};

/// The bytes before the content of a frame: length, kind, the two numbers.
constexpr int FrameHeader = 13;

/// The largest frame, in bytes; what is longer is refused by the sender, and ends the connection where it arrives.
constexpr int MaxFrame = 256 * 1024 * 1024;

namespace FrameValues {

/// How deep lists and maps may be nested.
constexpr int MaxDepth = 256;

/// The number that a cJsonValue travels under; that of its meta type is given by each process, in jsonType().
constexpr quint8 JsonTag = 255;
int jsonType();

/// Whether values of that meta type can travel; what is in a QVariant or a container decides when it does.
bool canTravel(int type);

/// The meta type of that name, as it is written in a method's signature; QMetaType::UnknownType when there is none.
int typeOf(const QByteArray& name);

/// A value of that type, which lies at @p place.
QVariant variantOf(int type, const void* place);

/// Puts a value into an object of that type. @return false when it is of another type.
[[nodiscard]] bool assign(int type, void* place, const QVariant& value);

/// Where the value lies, as a call of a method with a parameter of that type wants it; null when it is of another type.
void* placeOf(int type, QVariant& value);

} // namespace FrameValues

/// Composes a frame.
class cFrameWriter
{
public:
    explicit cFrameWriter(FrameKind kind);

    FrameKind kind() const { return FrameKind(m_bytes.at(4)); }
    void byte(quint8 byte) { m_bytes.append(char(byte)); }
    void number(quint32 number);
    void text(const QString& text);
    void bytes(const QByteArray& bytes);

    /// @return false when the value cannot travel: its type, that of something in it, or nested too deep. What has been
    /// written of it is no content then.
    [[nodiscard]] bool value(const QVariant& value, int depth = 0);

    /// Forgets the content, for an answer that turns out to be another.
    void clear() { m_bytes.truncate(FrameHeader); }

    /// The whole frame.
    const QByteArray& finish(quint32 id, quint32 within);

private:
    void wide(quint64 number);
    bool container(const QVariant& value, int depth);
    bool member(const QString& key, const QVariant& value, int depth);
    bool json(const cJsonValue& value, int depth);

    QByteArray m_bytes;
};

/// Takes a frame apart. What is asked for beyond its end is empty or 0, and makes it unsound.
class cFrameReader
{
public:
    cFrameReader() = default;
    /// @p frame with its header.
    explicit cFrameReader(const QByteArray& frame);

    FrameKind kind() const { return m_kind; }
    quint32 id() const { return m_id; }
    quint32 within() const { return m_within; }

    quint8 byte();
    quint32 number();
    QString text();
    QByteArray bytes();
    /// How many parts follow, each of one byte at least.
    int count();
    QVariant value(int depth = 0);

    bool isSound() const { return m_isSound; }

private:
    bool has(qint64 size);
    quint64 wide();
    QVariant container(int type, int depth);
    QVariant dateTime();
    cJsonValue json(int depth);

    QByteArray m_bytes;
    int m_at = 0;
    bool m_isSound = true;
    FrameKind m_kind = FrameKind::Answer;
    quint32 m_id = 0;
    quint32 m_within = 0;
};
