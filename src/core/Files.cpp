#include "core/Files.h"

#include "core/cXmlGuard.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QTextStream>
#include <QtXml/QDomDocument>

#include <filesystem>

namespace {

/// The most that readFile() reads: no document of the system comes near it, and a byte array holds eight times as much.
constexpr qint64 MaxReadSize = 256 * 1024 * 1024;

/// The rule by which a document counts as having its declaration. It asks for a null node on purpose, and so never
/// holds for a declaration that was read from a file: a fresh one is then put in front.
bool hasDeclaration(const QDomDocument& doc)
{
    const QDomNode first = doc.firstChild();
    return first.isProcessingInstruction() && first.toProcessingInstruction().isNull() &&
           first.nodeName() == QLatin1String("xml");
}

void insertDeclaration(QDomDocument& doc)
{
    const QDomNode declaration =
        doc.createProcessingInstruction(QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"utf-8\""));
    doc.insertBefore(declaration, doc.firstChild());
}

bool openForWriting(QFile& file)
{
    const QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text;
    if (file.open(mode))
        return true;
    QDir().mkpath(QFileInfo(file.fileName()).absolutePath());
    return file.open(mode);
}

/// What keeps @p bytes from being the content of the file at @p path; empty when they are.
QString replacingFault(const QString& path, const QByteArray& bytes)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return QStringLiteral("the folder %1 cannot be made").arg(folder);
    QSaveFile file(path); // removes what it wrote when it is not committed
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return file.errorString();
    if (!flushFile(file)) // it would flush by itself, and go on when that fails
        return QStringLiteral("it cannot be flushed to the disk");
    waitUntilReplaceable(path);
    if (!file.commit())
        return file.errorString();
    flushFolder(folder); // the file is in place all the same when the folder cannot be flushed
    return QString();
}

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
    if (info.exists() && !info.isFile())
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

QByteArray Corvane::FileReadAll(const QString& path, bool* ok)
{
    QFile file(path);
    const bool isOpen = file.open(QIODevice::ReadOnly); // fails also when there is no such file
    if (ok)
        *ok = isOpen;
    return isOpen ? file.readAll() : QByteArray();
}

bool Corvane::FileReadDom(const QString& path, QDomDocument& doc, bool namespaceProcessing)
{
    bool isRead = false;
    const QByteArray bytes = FileReadAll(path, &isRead);
    return isRead && cXmlGuard::readDom(bytes, doc, nullptr, namespaceProcessing);
}

bool Corvane::SaveDomToFile(QDomDocument& doc, const QString& path)
{
    if (!hasDeclaration(doc))
        insertDeclaration(doc);

    QFile file(path);
    if (!openForWriting(file))
        return false;
    QTextStream stream(&file);
    doc.save(stream, 2, QDomNode::EncodingFromDocument);
    stream.flush();
    file.close();
    return true;
}

bool replaceFile(const QString& path, const QByteArray& bytes, QString* error)
{
    const QString fault = replacingFault(path, bytes);
    if (!fault.isEmpty() && error)
        *error = QStringLiteral("%1 cannot be written: %2").arg(path, fault);
    return fault.isEmpty();
}

bool moveOver(const QString& from, const QString& to, QString* error)
{
    waitUntilReplaceable(to);
    std::error_code fault;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), fault);
    if (fault)
        *error = QStringLiteral("%1 cannot be written: %2").arg(to, QString::fromLocal8Bit(fault.message().c_str()));
    return !fault;
}
