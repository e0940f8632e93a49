#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>

#include <array>
#include <memory>

class QByteArray;
struct z_stream_s;

/// One of the three streams of a patch, inflated as far as it is asked for.
class cInflatingStream
{
public:
    cInflatingStream();
    ~cInflatingStream();
    Q_DISABLE_COPY(cInflatingStream)

    /// It lies at @p place of the file. @p name is how faults call it.
    void open(const char* name, qint64 place, qint64 length);

    /// @return how many bytes came, which are fewer than @p most only at the end; negative when it failed,
    /// errorString()
    ///         then says why.
    qint64 read(QFile& file, char* to, qint64 most);

    /// Whether all of it has been read, and nothing stands behind its end.
    bool isAtEnd(QFile& file);

    const char* name() const { return m_name; }
    const QString& errorString() const { return m_errorString; }

private:
    bool fill(QFile& file);
    qint64 fail(const QString& reason);

    const std::unique_ptr<z_stream_s> m_stream;
    const std::unique_ptr<char[]> m_in;
    bool m_isInitialised = false;
    bool m_hasEnded = false;
    const char* m_name = "";
    qint64 m_place = 0;
    qint64 m_left = 0; // bytes of the file
    QString m_errorString;
};

/**
 * Reads the file of a patch (its form stands at cRebuild): its head, and its three streams side by side. Holds no more
 * than a buffer of each. What a function that answers false has met, errorString() says.
 */
class cPatchReader
{
public:
    enum Stream { Control, Difference, Extra };

    [[nodiscard]] bool open(const QString& path);

    /// Exactly @p count bytes.
    [[nodiscard]] bool read(Stream stream, char* to, qint64 count);

    // Of the control stream.

    /// A number of at most @p most; @p what is how a fault calls it: "the count of parts".
    [[nodiscard]] bool readNumber(const char* what, qint64 most, qint64& number);
    [[nodiscard]] bool readSignedNumber(qint64& number);
    [[nodiscard]] bool readText(QString& text);
    [[nodiscard]] bool readBytes(int count, QByteArray& bytes);

    /// That all three streams have been read to their ends.
    [[nodiscard]] bool isAtEnd();

    /// Says with errorString() that the patch is damaged: @p how. @return false
    bool damaged(const QString& how);

    const QString& errorString() const { return m_errorString; }

private:
    bool readByte(uchar& byte);
    bool readUnsigned(const char* what, quint64& number);
    bool cannotRead(Stream stream, qint64 came);

    QFile m_file;
    cInflatingStream m_streams[3];
    std::array<char, 8192> m_control; // what has been inflated of it and not yet read
    qint64 m_controlPlace = 0;
    qint64 m_controlSize = 0;
    QString m_errorString;
};
