#include "install/cPackageCheck.h"

#include "core/Settings.h"
#include "core/cXmlTreeReader.h"
#include "install/cEntryNames.h"
#include "install/cPackage.h"
#include "version/SafeName.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

const QLatin1String ManifestName("Manifest.xml");

/// Manifests have a few KiB; reading XML takes a multiple of its size.
constexpr quint32 MaxManifestSize = 16 << 20;

/// What a byte array can hold.
constexpr qint64 LargestPackage = 0x7fffff00;

/// A longer list is not read by anybody.
constexpr int FindingsInSummary = 5;

/// The types that the mode of a Unix file can have; others are links, devices, pipes and sockets.
constexpr quint32 TypeMask = 0170000;
constexpr quint32 RegularFile = 0100000;
constexpr quint32 Folder = 0040000;

} // namespace

QString cPackageFinding::toString() const
{
    return entry.isEmpty() ? text : entry + QLatin1String(": ") + text;
}

QString cPackageFinding::ruleName(Rule rule)
{
    static const char* const names[] = {"readable",    "hash",       "manifest",     "identity",      "entry-name",
                                        "entry-clash", "entry-type", "entry-record", "entry-content", "size"};
    return QString::fromLatin1(names[rule]);
}

cPackageCheck::Limits cPackageCheck::Limits::fromSettings()
{
    Limits limits;
    const cMachineSettings settings;
    const auto positive = [&](const char* key, qint64 fallback) {
        const qint64 value = settings.value(QLatin1String(key), fallback).toLongLong();
        return value > 0 ? value : fallback;
    };
    limits.unpackedSize = positive(SettingsKey::MaxUnpackedSize, limits.unpackedSize);
    limits.ratio = int(qMin<qint64>(positive(SettingsKey::MaxRatio, limits.ratio), std::numeric_limits<int>::max()));
    return limits;
}

void cPackageCheck::expectIdentity(const QString& name, const cVersion& version)
{
    m_isIdentityExpected = true;
    m_expectedName = name;
    m_expectedVersion = version;
}

bool cPackageCheck::checkFile(const QString& path)
{
    cPackage package;
    return checkFile(path, package);
}

bool cPackageCheck::checkFile(const QString& path, cPackage& package)
{
    begin();
    const qint64 size = QFileInfo(path).size();
    const qint64 largest = std::min<qint64>(m_limits.unpackedSize, LargestPackage);
    if (size > largest)
        return find(cPackageFinding::Size, QString(),
                    QStringLiteral("its %1 bytes are more than the limit of %2").arg(size).arg(largest));
    m_isUnread = !package.readFile(path);
    if (m_isUnread)
        return find(cPackageFinding::Readable, QString(), package.errorString());
    return check(package);
}

bool cPackageCheck::check(const QByteArray& bytes)
{
    begin();
    cPackage package;
    package.setBytes(bytes);
    return check(package);
}

QString cPackageCheck::summary() const
{
    QStringList texts;
    for (const cPackageFinding& finding : m_findings.mid(0, FindingsInSummary))
        texts.append(finding.toString());
    if (m_findings.size() > FindingsInSummary)
        texts.append(QStringLiteral("and %1 more").arg(m_findings.size() - FindingsInSummary));
    return texts.join(QLatin1String("; "));
}

void cPackageCheck::begin()
{
    m_findings.clear();
    m_isUnread = false;
    m_name.clear();
    m_version = cVersion();
}

bool cPackageCheck::check(cPackage& package)
{
    checkHash(package.bytes());
    if (!package.readDirectory())
        return find(cPackageFinding::Readable, QString(), package.errorString());
    checkNames(package);
    for (const cZipRecord& record : package.records())
        checkType(record);
    checkSizes(package);
    checkRecords(package);
    // Only what is known to be of a bearable size is inflated.
    if (m_findings.isEmpty())
        checkContents(package);
    checkManifest(package);
    return m_findings.isEmpty();
}

void cPackageCheck::checkHash(const QByteArray& bytes)
{
    if (m_hash.isEmpty())
        return;
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
    if (hash != m_hash)
        find(cPackageFinding::Hash, QString(),
             QStringLiteral("its SHA-1 is %1, where %2 is expected")
                 .arg(QString::fromLatin1(hash.toHex()), QString::fromLatin1(m_hash.toHex())));
}

void cPackageCheck::checkNames(const cPackage& package)
{
    cEntryNames names;
    for (const cZipRecord& record : package.records()) {
        const QString fault = cEntryNames::fault(record.name);
        if (!fault.isEmpty()) {
            find(cPackageFinding::EntryName, record.name, fault);
            continue;
        }
        const QString clash = names.add(record.name);
        if (!clash.isEmpty())
            find(cPackageFinding::EntryClash, record.name, clash);
    }
}

void cPackageCheck::checkType(const cZipRecord& record)
{
    const quint32 type = record.unixMode() & TypeMask;
    if (!record.hasSignature)
        find(cPackageFinding::EntryRecord, record.name, QStringLiteral("its record has no signature"));
    if (type != 0 && type != (record.isFolder() ? Folder : RegularFile))
        find(cPackageFinding::EntryType, record.name,
             QStringLiteral("it is neither a file nor a folder, but a link "
                            "or device, or its name says otherwise"));
    if (record.flags & cZipRecord::IsEncrypted)
        find(cPackageFinding::EntryType, record.name, QStringLiteral("it is encrypted"));
    if (!record.isAcceptable())
        find(cPackageFinding::EntryType, record.name, QStringLiteral("it is neither stored nor deflated"));
    if (record.isFolder() && record.uncompressedSize != 0)
        find(cPackageFinding::EntryType, record.name, QStringLiteral("it is a folder with contents"));
}

void cPackageCheck::checkSizes(const cPackage& package)
{
    qint64 sum = 0;
    for (const cZipRecord& record : package.records()) {
        const qint64 size = record.uncompressedSize;
        sum += size;
        if (size > Limits::RatioFreeSize && size > qint64(m_limits.ratio) * record.compressedSize)
            find(cPackageFinding::Size, record.name,
                 QStringLiteral("it unpacks to more than %1 times its size").arg(m_limits.ratio));
    }
    if (sum > m_limits.unpackedSize)
        find(cPackageFinding::Size, QString(),
             QStringLiteral("it unpacks to %1 bytes, more than the limit of %2").arg(sum).arg(m_limits.unpackedSize));
}

void cPackageCheck::checkRecords(const cPackage& package)
{
    struct Place
    {
        cPackage::Span span;
        QString name;
    };
    std::vector<Place> places;
    for (const cZipRecord& record : package.records()) {
        Place place{{}, record.name};
        QString error;
        if (package.locate(record, &place.span, &error))
            places.push_back(place);
        else
            find(cPackageFinding::EntryRecord, record.name, error);
    }
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.span.begin < b.span.begin; });
    for (size_t i = 1; i < places.size(); ++i) {
        if (places[i].span.begin < places[i - 1].span.end)
            find(cPackageFinding::EntryRecord, places[i].name,
                 QStringLiteral("it overlaps with \"%1\"").arg(places[i - 1].name));
    }
}

void cPackageCheck::checkContents(const cPackage& package)
{
    QByteArray content;
    QString error;
    for (const cZipRecord& record : package.records()) {
        if (record.isListed() && !package.readContent(record, &content, &error))
            find(cPackageFinding::EntryContent, record.name, error);
    }
}

void cPackageCheck::checkManifest(const cPackage& package)
{
    for (const cZipRecord& record : package.records()) {
        if (record.name != ManifestName || !record.isListed())
            continue;
        QByteArray xml;
        QString error;
        if (record.uncompressedSize > MaxManifestSize)
            find(cPackageFinding::Manifest, ManifestName, QStringLiteral("it is larger than a manifest may be"));
        else if (package.readContent(record, &xml, &error))
            readManifest(xml);
        return;
    }
    find(cPackageFinding::Manifest, QString(), QStringLiteral("it has no %1").arg(ManifestName));
}

void cPackageCheck::readManifest(const QByteArray& xml)
{
    cXmlTree tree;
    QString reason;
    if (!cXmlTreeReader::read(xml, tree, &reason)) {
        find(cPackageFinding::Manifest, ManifestName, reason);
        return;
    }
    const cXmlElement plugin = tree.root().firstChild(u"plugin");
    m_name = plugin.attribute(u"name");
    m_version = cVersion(plugin.attribute(u"version"));
    if (m_name.isEmpty())
        find(cPackageFinding::Manifest, ManifestName, QStringLiteral("it gives no plugin with a name"));
    else
        checkIdentity();
}

void cPackageCheck::checkIdentity()
{
    const QString identity = m_name + QLatin1Char('-') + m_version.toString();
    const QString expected = m_expectedName + QLatin1Char('-') + m_expectedVersion.toString();
    if (!isSafeFileName(m_name))
        find(cPackageFinding::Identity, ManifestName, QStringLiteral("\"%1\" cannot name a folder").arg(m_name));
    else if (m_isIdentityExpected && (m_name != m_expectedName || m_version != m_expectedVersion))
        find(cPackageFinding::Identity, ManifestName,
             QStringLiteral("it is the manifest of %1, where %2 is expected").arg(identity, expected));
}

bool cPackageCheck::find(cPackageFinding::Rule rule, const QString& entry, const QString& text)
{
    m_findings.append({rule, entry, text});
    return false;
}
