#include "config/cPartFile.h"

#include "disk/WholeFiles.h"

namespace {

/// The system begins to write to the disk after so many bytes, so that little is left for the flush at the end.
constexpr qint64 WriteBackStep = 8 * 1024 * 1024;

} // namespace

cPartFile::cPartFile(const QString& path, bool hasSha256)
    : QFile(partOf(path)), m_origin(originOf(path)), m_hasSha256(hasSha256)
{
    m_digest.emplace(m_hasSha256);
}

bool cPartFile::openPart()
{
    return isOpen() || open(QIODevice::ReadWrite | QIODevice::Unbuffered) || fail(*this);
}

bool cPartFile::digestOn()
{
    const QByteArray bytes = read(cContentDigest::ReadStep);
    m_digest->add(bytes.constData(), bytes.size());
    m_handedOver = length();
    return !bytes.isEmpty();
}

cPartFile::Origin cPartFile::readOrigin() const
{
    QByteArray text;
    (void)readFile(m_origin, text, nullptr);
    const QList<QByteArray> lines = text.split('\n');
    return {QUrl::fromEncoded(lines.first()), lines.value(1)};
}

bool cPartFile::beginFrom(const Origin& origin)
{
    if (!openPart() || !resize(0))
        return false;
    // Neither is flushed: what a power cut makes of them shows in the hash, and the file is fetched anew.
    QFile file(m_origin);
    const QByteArray text = origin.url.toEncoded() + '\n' + origin.validator + '\n';
    return (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size()) || fail(file);
}

bool cPartFile::resize(qint64 size)
{
    if (!QFile::resize(size) || !seek(size))
        return fail(*this);
    m_digest.emplace(m_hasSha256);
    m_handedOver = 0;
    return true;
}

qint64 cPartFile::writeData(const char* bytes, qint64 size)
{
    const qint64 written = QFile::writeData(bytes, size);
    if (written != size)
        fail(*this);
    if (written <= 0)
        return written;
    m_digest->add(bytes, written);
    m_written += written;
    if (length() - m_handedOver >= WriteBackStep) {
        beginWriteBack(*this, m_handedOver, length() - m_handedOver);
        m_handedOver = length();
    }
    return written;
}

bool cPartFile::fail(const QFileDevice& file)
{
    m_fault = QStringLiteral("%1 cannot be written: %2").arg(file.fileName(), causeOf(file));
    return false;
}
