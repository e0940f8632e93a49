#include "signing/cSiteTargets.h"

#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "site/cSiteState.h"
#include "trust/Cryptography.h"
#include "version/Shown.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QUrl>

#include <algorithm>

namespace {

/// A file's length and hashes, taken while it is read in pieces.
struct cMeasure
{
    qint64 length = 0;
    Cryptography::cDigest sha256{Cryptography::cDigest::Sha256};
    Cryptography::cDigest sha512{Cryptography::cDigest::Sha512};
    QCryptographicHash sha1{QCryptographicHash::Sha1};

    void add(const QByteArray& bytes)
    {
        length += bytes.size();
        sha256.add(bytes);
        sha512.add(bytes);
        sha1.addData(bytes);
    }
};

QJsonObject targetOf(qint64 length, const QByteArray& sha256, const QByteArray& sha512)
{
    const QJsonObject hashes{{"sha256", QString::fromLatin1(sha256.toHex())},
                             {"sha512", QString::fromLatin1(sha512.toHex())}};
    return {{"length", length}, {"hashes", hashes}};
}

} // namespace

cSiteTargets::cSiteTargets(const QString& site, const QHash<QString, cTrustTarget>& before)
    : m_site(QDir(site).absolutePath()), m_before(before)
{
}

QString cSiteTargets::copyOf(const QString& path, const QByteArray& sha256)
{
    const int name = path.lastIndexOf(QLatin1Char('/')) + 1;
    return path.left(name) + QString::fromLatin1(sha256.toHex()) + QLatin1Char('.') + path.mid(name);
}

bool cSiteTargets::isDescription(const QString& path)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    return name == QLatin1String("site.xml") || name == QLatin1String("repository.xml");
}

bool cSiteTargets::collect()
{
    QByteArray xml;
    if (!addDescription(QStringLiteral("site.xml"), &xml))
        return false;
    cSiteReader reader;
    if (!reader.read(xml))
        return fail(QStringLiteral("%1, %2").arg(fullPath(QStringLiteral("site.xml")), reader.errorString()));
    QSet<QString> contents;
    for (const cSiteEntry& entry : reader.entries())
        contents.insert(pathIn(QString(), entry.content));
    return std::all_of(contents.begin(), contents.end(),
                       [&](const QString& content) { return addRepository(content); });
}

bool cSiteTargets::addDescription(const QString& path, QByteArray* bytes)
{
    cFindings findings;
    if (!readInputFile(fullPath(path), LargestDocument, bytes, findings))
        return fail(QStringLiteral("%1 cannot be read: %2").arg(fullPath(path), findings.list().constFirst().text));
    cMeasure measure;
    measure.add(*bytes);
    const QByteArray sha256 = measure.sha256.result();
    m_json.insert(path, targetOf(measure.length, sha256, measure.sha512.result()));
    m_copies.insert(copyOf(path, sha256), *bytes);
    return true;
}

bool cSiteTargets::addRepository(const QString& content)
{
    const QString path = pathIn(content, QStringLiteral("repository.xml"));
    QByteArray xml;
    cFeatureCatalogue catalogue;
    if (content.startsWith(QLatin1String("../")))
        return fail(QStringLiteral("%1/site.xml names \"%2\", which is not in it").arg(m_site, content));
    if (!addDescription(path, &xml))
        return false;
    const QString error = cSiteState::readCatalogue(fullPath(path), catalogue);
    if (!error.isEmpty())
        return fail(error);
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            if (!addPlugin(*plugin, content, path) || !addDeltas(*plugin, content, path))
                return false;
        }
    }
    for (const cRuntimeEntry& runtime : catalogue.runtimes()) {
        if (!addFile(pathIn(content, runtime.source), runtime.hash, path))
            return false;
    }
    addEarlier(content);
    return true;
}

// A source of its own server may stand beside one that is here: the bytes are the same.
bool cSiteTargets::addPlugin(const cFeaturePlugin& plugin, const QString& content, const QString& repository)
{
    if (plugin.sources().isEmpty()) // it lies beside its description
        return addFile(pathIn(content, plugin.id().packageFileName()), plugin.hash(), repository);
    bool isHere = false;
    for (const cFeatureSource& source : plugin.sources()) {
        if (!QUrl(source.source).isRelative())
            continue;
        if (!addFile(pathIn(content, source.source), plugin.hash(), repository))
            return false;
        isHere = true;
    }
    return isHere || fail(QStringLiteral("%1: the package of %2 lies on another server, so nothing vouches for it: put "
                                         "it on the site with norvale site add")
                              .arg(fullPath(repository), plugin.id().toString()));
}

// One that lies on another server needs nobody to vouch for it: the description does, which is signed.
bool cSiteTargets::addDeltas(const cFeaturePlugin& plugin, const QString& content, const QString& repository)
{
    return std::all_of(plugin.deltas().begin(), plugin.deltas().end(), [&](const cFeatureDelta& delta) {
        return !QUrl(delta.source.source).isRelative() ||
               addFile(pathIn(content, delta.source.source), delta.hash, repository);
    });
}

bool cSiteTargets::addFile(const QString& path, const QByteArray& sha1, const QString& repository)
{
    const QString place = fullPath(path);
    if (path.startsWith(QLatin1String("../")))
        return fail(QStringLiteral("%1 names \"%2\", which is not on the site").arg(fullPath(repository), path));
    if (m_json.contains(path))
        return true;
    QFile file(place);
    if (!QFileInfo(place).isFile() || !file.open(QIODevice::ReadOnly)) {
        return fail(QStringLiteral("%1, which %2 names, cannot be read: %3")
                        .arg(place, fullPath(repository),
                             QFileInfo::exists(place) ? file.errorString() : QStringLiteral("no such file")));
    }
    const auto known = m_before.constFind(path);
    if (known != m_before.constEnd()) {
        if (known->length != file.size()) {
            return fail(QStringLiteral("%1 has %2 instead of the %3 that are signed: put back what was published")
                            .arg(place, counted(file.size(), "byte"))
                            .arg(known->length));
        }
        m_json.insert(path, targetOf(known->length, known->hashes[QStringLiteral("sha256")],
                                     known->hashes[QStringLiteral("sha512")]));
        return true;
    }
    cMeasure measure;
    constexpr qint64 Piece = 1024 * 1024;
    while (!file.atEnd() && file.error() == QFile::NoError)
        measure.add(file.read(Piece));
    if (file.error() != QFile::NoError)
        return fail(QStringLiteral("%1 cannot be read: %2").arg(place, file.errorString()));
    if (!sha1.isEmpty() && measure.sha1.result() != sha1)
        return fail(QStringLiteral("%1 is not the file that %2 names").arg(place, fullPath(repository)));
    m_json.insert(path, targetOf(measure.length, measure.sha256.result(), measure.sha512.result()));
    return true;
}

// Who has fetched such a package may still install it. One that is gone is no loss.
void cSiteTargets::addEarlier(const QString& content)
{
    cFeatureCatalogue earlier;
    const QString list = pathIn(content, QStringLiteral(".earlier.xml"));
    if (!cSiteState::readCatalogue(fullPath(list), earlier).isEmpty())
        return;
    for (const QSharedPointer<cFeatureInstance>& feature : earlier.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            for (const cFeatureSource& source : plugin->sources()) {
                if (QUrl(source.source).isRelative() && !addFile(pathIn(content, source.source), plugin->hash(), list))
                    m_errorString.clear();
            }
        }
    }
}

QString cSiteTargets::pathIn(const QString& content, const QString& source) const
{
    return QDir(m_site).relativeFilePath(
        QDir::cleanPath(m_site + QLatin1Char('/') + content + QLatin1Char('/') + source));
}

bool cSiteTargets::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
