#include "signing/cKeyFolder.h"

#include "disk/WholeFiles.h"
#include "lint/InputFile.h"
#include "report/cFindings.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

constexpr qint64 LargestKey = 16 * 1024;

/// The path without links, also of what is not there yet.
QString canonicalPath(const QString& path)
{
    const QFileInfo info(path);
    if (info.exists() || info.isRoot())
        return info.canonicalFilePath();
    return QDir::cleanPath(canonicalPath(info.absolutePath()) + QLatin1Char('/') + info.fileName());
}

QString readSmallFile(const QString& path, QByteArray* bytes)
{
    cFindings findings;
    const bool isRead = readInputFile(path, LargestKey, bytes, findings);
    return isRead ? QString() : QStringLiteral("%1: %2").arg(path, findings.list().constFirst().text);
}

} // namespace

cKeyFolder::~cKeyFolder()
{
    for (int i = m_made.size() - 1; i >= 0; --i) {
        if (QFileInfo(m_made.at(i)).isDir())
            QDir().rmdir(m_made.at(i));
        else
            QFile::remove(m_made.at(i));
    }
}

bool cKeyFolder::open(const QString& path, const QString& site)
{
    m_path = QDir::cleanPath(path);
    const QString here = canonicalPath(QDir(m_path).absolutePath());
    const QString published = canonicalPath(QDir(site).absolutePath());
    if (here == published || here.startsWith(published + QLatin1Char('/')))
        return fail(QStringLiteral("keys do not belong into %1, which is published").arg(site));
    const QStringList files =
        QDir(m_path).entryList({QStringLiteral("*.pem"), QStringLiteral("*.command")}, QDir::Files, QDir::Name);
    return std::all_of(files.begin(), files.end(),
                       [&](const QString& name) { return name.endsWith(QLatin1String(".pub.pem")) || readKey(name); });
}

bool cKeyFolder::readKey(const QString& name)
{
    const QString base = name.left(name.lastIndexOf(QLatin1Char('.')));
    const QString path = m_path + QLatin1Char('/') + name;
    QByteArray bytes, publicPem;
    QString error = readSmallFile(path, &bytes);
    if (!error.isEmpty())
        return fail(error);
    const bool isCommand = name.endsWith(QLatin1String(".command"));
    const QString publicPath = m_path + QLatin1Char('/') + base + QStringLiteral(".pub.pem");
    error = isCommand ? readSmallFile(publicPath, &publicPem) : QString();
    if (!error.isEmpty())
        return fail(error);
    const std::optional<cSigningKey> key =
        isCommand ? cSigningKey::ofCommand(QString::fromUtf8(bytes).trimmed(), publicPem, &error)
                  : cSigningKey::ofPem(bytes, &error);
    if (!key)
        return fail(QStringLiteral("%1: %2").arg(isCommand ? publicPath : path, error));
    m_entries.append({base, *key});
    return true;
}

const cSigningKey* cKeyFolder::find(const QString& id) const
{
    const auto entry =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.key.key().id() == id; });
    return entry == m_entries.end() ? nullptr : &entry->key;
}

QList<cSigningKey> cKeyFolder::namedAfter(const QString& role) const
{
    QList<cSigningKey> keys;
    for (const Entry& entry : m_entries) {
        if (entry.name.startsWith(role + QLatin1Char('-')))
            keys.append(entry.key);
    }
    return keys;
}

bool cKeyFolder::add(const QString& role, const cSigningKey& key)
{
    int number = 1;
    QString name;
    const auto isTaken = [&](const Entry& entry) { return entry.name == name; };
    do {
        name = QStringLiteral("%1-%2").arg(role).arg(number++);
    } while (std::any_of(m_entries.begin(), m_entries.end(), isTaken));
    const QString path = m_path + QLatin1Char('/') + name;
    const bool isWritten = key.command().isEmpty()
                               ? writeSecret(path + QStringLiteral(".pem"), key.pem())
                               : writeSecret(path + QStringLiteral(".pub.pem"), key.publicPem()) &&
                                     writeSecret(path + QStringLiteral(".command"), key.command().toUtf8() + '\n');
    if (isWritten)
        m_entries.append({name, key});
    return isWritten;
}

QStringList cKeyFolder::keep()
{
    QStringList files;
    for (const QString& path : qAsConst(m_made)) {
        if (path != m_path)
            files.append(path);
    }
    m_made.clear();
    return files;
}

bool cKeyFolder::writeSecret(const QString& path, const QByteArray& bytes)
{
    // The folder is closed to others first, and a file gets its mode before it gets its content.
    if (!QFileInfo::exists(m_path)) {
        if (!makeFolder(m_path, &m_errorString))
            return false;
        QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_made.append(m_path);
    }
    cReplacement replacement(path);
    QFileDevice& file = replacement.file();
    QString fault = replacement.write(QByteArray());
    if (fault.isEmpty() && (!file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) ||
                            file.write(bytes) != bytes.size() || !flushFile(file)))
        fault = causeOf(file);
    if (fault.isEmpty())
        fault = replacement.commit();
    if (!fault.isEmpty())
        return fail(QStringLiteral("%1 cannot be written: %2").arg(path, fault));
    m_made.append(path);
    return true;
}

bool cKeyFolder::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
