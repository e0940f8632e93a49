#include "plugins/cFileRecord.h"

#include "disk/WholeFiles.h"
#include "version/Shown.h"
#include "json/JsonText.h"

#include <Norvale/Corvane.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QByteArrayList>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cmath>

namespace {

// The first line holds the digest of everything behind it: one changed bit in the record must not make a sound file
// look damaged.
const QByteArray DigestBegin = QByteArrayLiteral("{\"sha256\":\"");
const QByteArray DigestEnd = QByteArrayLiteral("\",\n");
constexpr int DigestSize = 32; // bytes of a SHA-256

QByteArray headOf(const QByteArray& body)
{
    return DigestBegin + QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex() + DigestEnd;
}

QByteArray quoted(const QString& text)
{
    return '"' + JsonText::escaped(text) + '"';
}

/// A SHA-256 of the names and contents.
QByteArray digestOf(const cFileRecord::Files& files)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (auto file = files.begin(); file != files.end(); ++file) {
        hash.addData(file.key().toUtf8() + '\0');
        hash.addData(file->sha256);
    }
    return hash.result();
}

/// A name that leads from a plugin's folder to a file below it.
bool leadsDown(const QString& name)
{
    const QString steps = QLatin1Char('/') + name + QLatin1Char('/');
    return !steps.contains(QLatin1String("//")) && !steps.contains(QLatin1String("/./")) &&
           !steps.contains(QLatin1String("/../"));
}

/// A whole number from 0 up, as large as a double holds exactly.
bool readNumber(const cJsonValue& value, qint64* number)
{
    constexpr double Largest = 9007199254740992.0;
    const double read = value.toDouble();
    if (!value.isNumber() || !(read >= 0 && read <= Largest) || std::floor(read) != read)
        return false;
    *number = qint64(read);
    return true;
}

bool readFacts(const cJsonValue& value, cRecordedFile* file)
{
    if (!value.isArray() || value.size() != 3 || !value[2].isString())
        return false;
    file->sha256 = QByteArray::fromHex(value[2].toString().toLatin1());
    return readNumber(value[0], &file->size) && readNumber(value[1], &file->changed) &&
           file->sha256.size() == DigestSize;
}

} // namespace

bool cRecordedFile::looksUntouched(const QFileInfo& file) const
{
    return file.isFile() && !file.isSymbolicLink() && file.size() == size &&
           file.lastModified().toMSecsSinceEpoch() == changed;
}

QString cRecordedFile::difference(const QString& path) const
{
    const QFileInfo file(path);
    if (file.isSymbolicLink()) // a shortcut of Windows is a file like others
        return QStringLiteral("is a link");
    if (!file.exists())
        return QStringLiteral("is missing");
    if (!file.isFile())
        return QStringLiteral("is no file");
    if (file.size() != size)
        return QStringLiteral("has %1 instead of %2").arg(counted(file.size(), "byte")).arg(size);
    cRecordedFile now;
    QString error;
    if (!now.take(path, &error))
        return QStringLiteral("cannot be read: %1").arg(error);
    return now.sha256 == sha256 ? QString() : QStringLiteral("has another content than was installed");
}

bool cRecordedFile::take(const QString& path, QString* error)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !hash.addData(&file) ||
        file.error() != QFile::NoError) {
        *error = file.errorString();
        return false;
    }
    sha256 = hash.result();
    size = file.size();
    changed = file.fileTime(QFile::FileModificationTime).toMSecsSinceEpoch();
    return true;
}

QString cFileRecord::path()
{
    return QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(QStringLiteral("files.json"));
}

bool cFileRecord::read()
{
    m_plugins.clear();
    m_packages.clear();
    m_catalogues.clear();
    if (isAbsent(path()))
        return true;
    QByteArray bytes;
    QString reason;
    if (!readFile(path(), bytes, &reason))
        return fail(QStringLiteral("%1: cannot be read: %2").arg(path(), reason));
    return fromBytes(bytes) || fail(QStringLiteral("%1: damaged: %2").arg(path(), m_errorString));
}

bool cFileRecord::write()
{
    return replaceFile(path(), toBytes(), &m_errorString);
}

void cFileRecord::keepOnly(const QSet<cPluginId>& plugins)
{
    for (auto it = m_plugins.begin(); it != m_plugins.end();)
        it = plugins.contains(it.key()) ? std::next(it) : m_plugins.erase(it);
    for (auto it = m_packages.begin(); it != m_packages.end();)
        it = plugins.contains(it.key()) ? std::next(it) : m_packages.erase(it);
}

void cFileRecord::setPackaged(const cPluginId& id, const Files& files)
{
    const QByteArray digest = digestOf(files);
    if (digest == digestOf(m_plugins.value(id)))
        m_packages.remove(id);
    else
        m_packages.insert(id, digest);
}

bool cFileRecord::isFrom(const cPluginId& id, const Files& packaged) const
{
    const QByteArray known = m_packages.contains(id) ? m_packages.value(id) : digestOf(m_plugins.value(id));
    return digestOf(packaged) == known;
}

bool cFileRecord::isAsUnpacked(const cPluginId& id, const QString& folder) const
{
    const Files files = m_plugins.value(id);
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString path = QDir(folder).absoluteFilePath(file.key());
        if (!file->looksUntouched(QFileInfo(path)) && !file->difference(path).isEmpty())
            return false;
    }
    return !files.isEmpty() && !m_packages.contains(id);
}

QString cFileRecord::differenceIn(const QString& folder, const Files& files)
{
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString difference = file->difference(QDir(folder).absoluteFilePath(file.key()));
        if (!difference.isEmpty())
            return file.key() + QLatin1Char(' ') + difference;
    }
    return QString();
}

// A line for each file, so that people can read it and two records can be compared.
QByteArray cFileRecord::toBytes() const
{
    QMap<QString, const Files*> sorted;
    for (auto it = m_plugins.begin(); it != m_plugins.end(); ++it)
        sorted.insert(it.key().toString(), &it.value());
    QByteArrayList catalogues;
    for (const QByteArray& digest : m_catalogues)
        catalogues.append('"' + digest.toHex() + '"');
    QByteArray body = "\"features\":[" + catalogues.join(',') + "],\n\"plugins\":{";
    const char* plugin = "\n";
    for (auto it = sorted.begin(); it != sorted.end(); ++it) {
        body += plugin + quoted(it.key()) + ":{";
        plugin = ",\n";
        const char* file = "\n";
        for (auto entry = it.value()->begin(); entry != it.value()->end(); ++entry) {
            body += file + quoted(entry.key()) + ":[" + QByteArray::number(entry->size) + ',' +
                    QByteArray::number(entry->changed) + ",\"" + entry->sha256.toHex() + "\"]";
            file = ",\n";
        }
        body += '}';
    }
    body += '}';
    QMap<QString, QByteArray> packages;
    for (auto it = m_packages.begin(); it != m_packages.end(); ++it)
        packages.insert(it.key().toString(), it.value());
    const char* package = ",\n\"packages\":{\n";
    for (auto it = packages.begin(); it != packages.end(); ++it) {
        body += package + quoted(it.key()) + ":\"" + it.value().toHex() + '"';
        package = ",\n";
    }
    body += packages.isEmpty() ? "}\n" : "}}\n";
    return headOf(body) + body;
}

bool cFileRecord::fromBytes(const QByteArray& bytes)
{
    m_plugins.clear();
    m_packages.clear();
    m_catalogues.clear();
    const int head = DigestBegin.size() + 2 * DigestSize + DigestEnd.size();
    if (!bytes.startsWith(DigestBegin) || bytes.size() < head)
        return fail(QStringLiteral("it does not begin with its own SHA-256"));
    if (!bytes.startsWith(headOf(bytes.mid(head))))
        return fail(QStringLiteral("its content does not match its own SHA-256"));
    cJsonValue document;
    const bool isRead = cJsonReader::parse(bytes, document);
    const cJsonValue& plugins = qAsConst(document)[QStringLiteral("plugins")];
    if (!isRead || !plugins.isObject())
        return fail(QStringLiteral("it has no object \"plugins\""));
    for (const QString& key : plugins.keys()) {
        if (!readPlugin(key, plugins[key]))
            return false;
    }
    const cJsonValue& packages = qAsConst(document)[QStringLiteral("packages")];
    for (const QString& key : packages.keys())
        m_packages.insert(cPluginId::parse(key), QByteArray::fromHex(packages[key].toString().toLatin1()));
    const cJsonValue& catalogues = qAsConst(document)[QStringLiteral("features")];
    for (int i = 0; i < int(catalogues.size()); ++i)
        m_catalogues.append(QByteArray::fromHex(catalogues[i].toString().toLatin1()));
    return true;
}

bool cFileRecord::readPlugin(const QString& key, const cJsonValue& entries)
{
    const cPluginId id = cPluginId::parse(key);
    if (!id.isSafe() || !entries.isObject())
        return fail(QStringLiteral("\"%1\" is no plugin with its files").arg(key));
    Files files;
    for (const QString& name : entries.keys()) {
        if (!leadsDown(name) || !readFacts(entries[name], &files[name]))
            return fail(QStringLiteral("\"%1\" of %2 is no file's name with size, time and hash").arg(name, key));
    }
    m_plugins.insert(id, files);
    return true;
}

void cFileRecord::setCatalogues(const QList<QByteArray>& texts)
{
    m_catalogues.clear();
    for (const QByteArray& text : texts)
        m_catalogues.append(QCryptographicHash::hash(text, QCryptographicHash::Sha256));
}

bool cFileRecord::knowsCatalogue(const QByteArray& text) const
{
    return m_catalogues.isEmpty() || m_catalogues.contains(QCryptographicHash::hash(text, QCryptographicHash::Sha256));
}

bool cFileRecord::fail(const QString& reason)
{
    m_plugins.clear();
    m_packages.clear();
    m_catalogues.clear();
    m_errorString = reason;
    return false;
}
