#include "core/Files.h"

#include "core/cXmlGuard.h"
#include "log/cFrameworkLog.h"

#include <Norvale/Corvane.h>

#include <QtCore/QBuffer>
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

/// A pipe or a device is written to, and so is a file in a folder that takes no other: they cannot be replaced.
bool writeThrough(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

/// A plugin's own files have its name as prefix; misspelt, they would just not be there.
void warnOfUnknownPrefix(const QString& path)
{
    const QString prefix = path.section(QLatin1Char(':'), 0, 0);
    if (prefix.size() > 1 && prefix.size() < path.size() && !prefix.contains(QLatin1Char('/')) &&
        QDir::searchPaths(prefix).isEmpty())
        cFrameworkLog::library().warning().noquote()
            << QStringLiteral("\"%1\" cannot be read: no started plugin is named \"%2\"").arg(path, prefix) << Qt::endl;
}

} // namespace

QByteArray Corvane::FileReadAll(const QString& path, bool* ok)
{
    QFile file(path);
    const bool isOpen = file.open(QIODevice::ReadOnly); // fails also when there is no such file
    if (ok)
        *ok = isOpen;
    if (!isOpen)
        warnOfUnknownPrefix(path);
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

    QBuffer text; // a text file
    text.open(QIODevice::WriteOnly | QIODevice::Text);
    QTextStream stream(&text);
    doc.save(stream, 2, QDomNode::EncodingFromDocument);
    stream.flush();
    const QFileInfo info(path);
    const bool isReplaceable = info.isFile() && QFileInfo(info.absolutePath()).isWritable();
    return info.exists() && !isReplaceable ? writeThrough(path, text.data()) : replaceFile(path, text.data(), nullptr);
}
