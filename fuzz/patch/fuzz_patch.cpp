// Any bytes are applied as a patch to three old files, or refused with a reason; a package never becomes larger than it
// is stated. What does not begin as a patch are the three streams of one, not deflated, each behind its length in two
// bytes, the control stream from its count of parts on: so the fuzzer reaches what comes behind zlib and the hashes.

#include "delta/cRebuild.h"

#include <QtCore/QBuffer>
#include <QtCore/QCryptographicHash>
#include <QtCore/QMap>
#include <QtCore/QTemporaryFile>
#include <QtCore/QtEndian>

#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr qint64 StatedSize = 3000;

void require(bool isTrue, const char* claim)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "not so: %s\n", claim);
    std::abort();
}

const QMap<QString, QByteArray>& oldFiles()
{
    static const QMap<QString, QByteArray> files{{QStringLiteral("a/b"), QByteArray(20000, 'a') + "end"},
                                                 {QStringLiteral("c"), "text of an old file"},
                                                 {QStringLiteral("empty"), QByteArray()}};
    return files;
}

std::unique_ptr<QIODevice> openOld(const QString& path)
{
    const auto found = oldFiles().find(path);
    if (found == oldFiles().end())
        return nullptr;
    auto device = std::make_unique<QBuffer>();
    device->setData(*found);
    device->open(QIODevice::ReadOnly);
    return device;
}

QByteArray number(quint64 value)
{
    QByteArray bytes;
    for (; value >= 0x80; value >>= 7)
        bytes.append(char(value | 0x80));
    return bytes.append(char(value));
}

QByteArray beginOfControl()
{
    QByteArray control = number(StatedSize) + number(quint64(oldFiles().size()));
    for (auto file = oldFiles().begin(); file != oldFiles().end(); ++file) {
        control += number(quint64(file.key().size())) + file.key().toUtf8() + number(quint64(file->size()));
        control += QCryptographicHash::hash(*file, QCryptographicHash::Sha1);
    }
    return control;
}

QByteArray deflated(const QByteArray& bytes)
{
    QByteArray made(int(compressBound(uLong(bytes.size()))), Qt::Uninitialized);
    uLongf size = uLongf(made.size());
    compress2(reinterpret_cast<Bytef*>(made.data()), &size, reinterpret_cast<const Bytef*>(bytes.constData()),
              uLong(bytes.size()), Z_BEST_SPEED);
    return made.left(int(size));
}

/// The patch whose streams stand in @p bytes one after the other.
QByteArray patchOf(QByteArray bytes)
{
    QByteArray head = "NORVPAT1";
    QByteArray streams;
    for (int i = 0; i < 3; ++i) {
        const int length = bytes.size() < 2 ? 0 : qFromLittleEndian<quint16>(bytes.constData());
        const QByteArray content = bytes.mid(2, length);
        bytes = bytes.mid(2 + content.size());
        const QByteArray stream = deflated(i == 0 ? beginOfControl() + content : content);
        const quint64 size = qToLittleEndian(quint64(stream.size()));
        head.append(reinterpret_cast<const char*>(&size), sizeof size);
        streams += stream;
    }
    return head + streams;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    const bool isWhole = bytes.startsWith("NORVPAT1") || bytes.isEmpty();
    QTemporaryFile file;
    require(file.open(), "a file can be made");
    file.write(isWhole ? bytes : patchOf(bytes));
    file.close();
    QBuffer package;
    package.open(QIODevice::WriteOnly);
    cRebuild rebuild(file.fileName(), openOld, StatedSize);
    const bool isMade = rebuild.run(package);
    require(package.data().size() <= StatedSize, "no package is larger than it is stated");
    require(!isMade || package.data().size() == StatedSize, "a package has the stated size");
    require(isMade == rebuild.errorString().isEmpty(), "a refusal has a reason");
    return 0;
}
