#include <Norvale/Corvane.h>

#include "core/cXmlGuard.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextStream>
#include <QtXml/QDomDocument>

namespace {

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

} // namespace

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
    if (!isRead)
        return false;
    if (!namespaceProcessing)
        return cXmlGuard::readDom(bytes, doc, nullptr);
    return cXmlGuard::isReadable(bytes, nullptr) && doc.setContent(bytes, true);
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
