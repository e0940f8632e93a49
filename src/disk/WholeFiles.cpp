#include "disk/WholeFiles.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <filesystem>

namespace {

/// The most that readFile() reads: no document of the system comes near it, and a byte array holds eight times as much.
constexpr qint64 MaxReadSize = 256 * 1024 * 1024;

} // namespace

bool isAbsent(const QString& path)
{
    std::error_code ignored;
    return std::filesystem::symlink_status(path.toStdU16String(), ignored).type() ==
           std::filesystem::file_type::not_found;
}

bool readFile(const QString& path, QByteArray& bytes, QString* reason)
{
    QFile file(path);
    const QFileInfo info(path);
    QString fault;
    if (!info.isFile() && info.exists())
        fault = info.isDir() ? QStringLiteral("this is a folder") : QStringLiteral("this is no file");
    else if (!file.open(QIODevice::ReadOnly))
        fault = file.errorString();
    else if (file.size() > MaxReadSize)
        fault = QStringLiteral("it has more than %1 bytes").arg(MaxReadSize);
    else
        bytes = file.readAll();
    if (fault.isEmpty() && file.error() != QFile::NoError)
        fault = file.errorString();
    if (!fault.isEmpty())
        bytes.clear();
    if (!fault.isEmpty() && reason)
        *reason = fault;
    return fault.isEmpty();
}

QString causeOf(const QFileDevice& file)
{
    const bool isKnown = file.error() != QFileDevice::NoError && file.error() != QFileDevice::UnspecifiedError;
    return causeOfSystem(file.fileName(), isKnown ? file.errorString() : qt_error_string());
}

QString causeOfSystem(const QString& path, const QString& said)
{
    const QString folder = QFileInfo(path).absolutePath();
    switch (diskRefusalOf(said)) {
    case DiskRefusal::Full:
        return QStringLiteral("no space is left on the device that holds %1").arg(folder);
    case DiskRefusal::ReadOnly:
        return QStringLiteral("the device that holds %1 is read-only").arg(folder);
    case DiskRefusal::Forbidden:
        return QStringLiteral("this user has no permission to write in %1").arg(folder);
    case DiskRefusal::Other:
        break;
    }
    return said;
}

// One at a time: on Windows QDir::mkpath goes on to the parents when the system refuses, and so loses the cause.
bool makeFolder(const QString& path, QString* error)
{
    const QFileInfo folder(path);
    if (folder.isDir())
        return true;
    const QString parent = folder.absolutePath();
    if (parent != folder.absoluteFilePath() && !makeFolder(parent, error))
        return false;
    if (QDir().mkdir(path))
        return true;
    const QString cause = causeOfSystem(path);
    if (QFileInfo(path).isDir()) // another process was faster
        return true;
    *error = QStringLiteral("the folder %1 cannot be made: %2").arg(path, cause);
    return false;
}

QString cReplacement::open()
{
    QString error;
    if (!makeFolder(QFileInfo(m_file.fileName()).absolutePath(), &error))
        return error;
    return m_file.open(QIODevice::WriteOnly) ? QString() : causeOf(m_file);
}

// The file would do it by itself, and be put in place all the same when that fails.
QString cReplacement::flush()
{
    return m_file.error() == QFileDevice::NoError && flushFile(m_file) ? QString() : causeOf(m_file);
}

QString cReplacement::write(const QByteArray& bytes)
{
    const QString fault = open();
    if (!fault.isEmpty())
        return fault;
    return m_file.write(bytes) == bytes.size() ? flush() : causeOf(m_file);
}

QString cReplacement::commit()
{
    const QString path = m_file.fileName();
    waitUntilReplaceable(path);
    if (!m_file.commit())
        return causeOf(m_file);
    flushFolder(QFileInfo(path).absolutePath()); // the file is in place all the same when that fails
    return QString();
}

bool replaceFile(const QString& path, const QByteArray& bytes, QString* error)
{
    cReplacement replacement(path);
    QString fault = replacement.write(bytes);
    if (fault.isEmpty())
        fault = replacement.commit();
    if (!fault.isEmpty() && error)
        *error = QStringLiteral("%1 cannot be written: %2").arg(path, fault);
    return fault.isEmpty();
}

bool moveFolder(const QString& from, const QString& to, QString* error)
{
    waitUntilReplaceable(from); // what ran in it may be ending yet
    if (QDir().rename(from, to))
        return true;
    *error = QStringLiteral("%1 cannot be moved to %2: %3").arg(from, to, causeOfSystem(to));
    return false;
}

bool moveOver(const QString& from, const QString& to, QString* error)
{
    waitUntilReplaceable(to);
    std::error_code fault;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), fault);
    if (fault)
        *error = QStringLiteral("%1 cannot be written: %2")
                     .arg(to, causeOfSystem(to, QString::fromLocal8Bit(fault.message().c_str())));
    return !fault;
}
