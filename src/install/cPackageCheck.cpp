#include "install/cPackageCheck.h"

#include "core/Settings.h"
#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "install/cPackage.h"
#include "plugins/ManifestRules.h"
#include "plugins/cManifestReader.h"
#include "plugins/cStartRules.h"
#include "version/Shown.h"
#include "version/cPluginId.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

// Manifests have a few KiB; reading XML takes a multiple of its size.
constexpr quint32 MaxManifestSize = 16 << 20;

// What a byte array can hold.
constexpr qint64 LargestPackage = 0x7fffff00;

// A longer list is not read by anybody.
constexpr int FindingsInSummary = 5;

// The types that the mode of a Unix file can have; others are links, devices, pipes and sockets.
constexpr quint32 TypeMask = 0170000;
constexpr quint32 RegularFile = 0100000;
constexpr quint32 Folder = 0040000;

// The longest name of an entry, and the most steps in it: well above what plugins have, well below what systems take.
constexpr int MaxNameLength = 1000;
constexpr int MaxFolderDepth = 32;

/**
 * Collects the names of a package's entries and finds out those that cannot stand beside one another in a folder: two
 * that are one file on a system that takes upper and lower case for the same, and a file that is also a folder.
 */
class cEntryNames
{
public:
    /// What is wrong with @p name by itself: it must be a way down from a folder, with every step a safe file name. A
    /// "/" at the end marks a folder. Empty when nothing is.
    static QString fault(const QString& name);

    /// Takes @p name in, which has no fault, and the folders on its way. @return what it clashes with as a sentence;
    /// empty when it does not.
    QString add(const QString& name);

private:
    struct Known
    {
        QString spelling;
        bool isFolder;
    };

    QString addStep(const QString& path, bool isFolder, bool isWay, bool* isNew);

    QHash<QString, Known> m_known; // by the form in which names are compared
};

QString cEntryNames::fault(const QString& name)
{
    if (name.size() > MaxNameLength)
        return QStringLiteral("its name is longer than %1 characters").arg(MaxNameLength);
    const QString path = name.endsWith(QLatin1Char('/')) ? name.chopped(1) : name;
    const QStringList steps = path.split(QLatin1Char('/'));
    if (steps.size() > MaxFolderDepth)
        return QStringLiteral("its name leads through more than %1 folders").arg(MaxFolderDepth);
    for (const QString& step : steps) {
        if (!isSafeFileName(step))
            return QStringLiteral("\"%1\" in its name is no file name, or leads out of the folder").arg(step);
    }
    return QString();
}

QString cEntryNames::add(const QString& name)
{
    const bool isFolder = name.endsWith(QLatin1Char('/'));
    QString path = isFolder ? name.chopped(1) : name;
    bool isNew = true;
    QString clash = addStep(path, isFolder, false, &isNew);
    // Upwards, until a folder is met whose own way is known.
    for (int slash = path.lastIndexOf(QLatin1Char('/')); slash > 0 && isNew && clash.isEmpty();
         slash = path.lastIndexOf(QLatin1Char('/'))) {
        path.truncate(slash);
        clash = addStep(path, true, true, &isNew);
    }
    return clash;
}

QString cEntryNames::addStep(const QString& path, bool isFolder, bool isWay, bool* isNew)
{
    const QString key = caselessFileName(path);
    const auto known = m_known.constFind(key);
    *isNew = known == m_known.constEnd();
    if (*isNew) {
        m_known.insert(key, {path, isFolder});
        return QString();
    }
    if (known->isFolder != isFolder)
        return QStringLiteral("\"%1\" is a file and a folder").arg(path);
    if (known->spelling != path)
        return QStringLiteral("its name differs from \"%1\" only in upper and lower case").arg(known->spelling);
    if (!isFolder && !isWay)
        return QStringLiteral("its name stands twice in the package");
    return QString();
}

/// Who makes a package by hand easily packs the plugin's folder itself.
QString whereElse(const cPackage& package)
{
    for (const cZipRecord& record : package.records()) {
        if (record.name.endsWith(QLatin1Char('/') + ManifestRules::FileName))
            return QStringLiteral(" but %1: a package holds what is in the plugin's folder, not the folder")
                .arg(record.name);
    }
    return QString();
}

} // namespace

QString cPackageFinding::toString() const
{
    return entry.isEmpty() ? text : entry + QLatin1String(": ") + text;
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
        return addFinding(cPackageFinding::Size, QString(),
                          QStringLiteral("its %1 bytes are more than the limit of %2").arg(size).arg(largest));
    m_isUnread = !package.readFile(path);
    if (m_isUnread)
        return addFinding(cPackageFinding::Readable, QString(), package.errorString());
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
    m_id = cPluginId();
}

bool cPackageCheck::check(cPackage& package)
{
    checkHash(package.bytes());
    if (!package.readDirectory())
        return addFinding(cPackageFinding::Readable, QString(), package.errorString());
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
        addFinding(cPackageFinding::Hash, QString(),
                   QStringLiteral("its SHA-1 is %1, where %2 is expected")
                       .arg(QString::fromLatin1(hash.toHex()), QString::fromLatin1(m_hash.toHex())));
}

void cPackageCheck::checkNames(const cPackage& package)
{
    cEntryNames names;
    for (const cZipRecord& record : package.records()) {
        const QString fault = cEntryNames::fault(record.name);
        if (!fault.isEmpty()) {
            addFinding(cPackageFinding::EntryName, record.name, fault);
            continue;
        }
        const QString clash = names.add(record.name);
        if (!clash.isEmpty())
            addFinding(cPackageFinding::EntryClash, record.name, clash);
    }
}

void cPackageCheck::checkType(const cZipRecord& record)
{
    const quint32 type = record.unixMode() & TypeMask;
    if (!record.hasSignature)
        addFinding(cPackageFinding::EntryRecord, record.name, QStringLiteral("its record has no signature"));
    if (type != 0 && type != (record.isFolder() ? Folder : RegularFile))
        addFinding(cPackageFinding::EntryType, record.name,
                   QStringLiteral("it is neither a file nor a folder, but a link "
                                  "or device, or its name says otherwise"));
    if (record.flags & cZipRecord::IsEncrypted)
        addFinding(cPackageFinding::EntryType, record.name, QStringLiteral("it is encrypted"));
    if (!record.isAcceptable())
        addFinding(cPackageFinding::EntryType, record.name, QStringLiteral("it is neither stored nor deflated"));
    if (record.isFolder() && record.uncompressedSize != 0)
        addFinding(cPackageFinding::EntryType, record.name, QStringLiteral("it is a folder with contents"));
}

void cPackageCheck::checkSizes(const cPackage& package)
{
    qint64 sum = 0;
    for (const cZipRecord& record : package.records()) {
        const qint64 size = record.uncompressedSize;
        sum += size;
        if (size > Limits::RatioFreeSize && size > qint64(m_limits.ratio) * record.compressedSize)
            addFinding(cPackageFinding::Size, record.name,
                       QStringLiteral("it unpacks to more than %1 its size").arg(counted(m_limits.ratio, "time")));
    }
    if (sum > m_limits.unpackedSize)
        addFinding(
            cPackageFinding::Size, QString(),
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
            addFinding(cPackageFinding::EntryRecord, record.name, error);
    }
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.span.begin < b.span.begin; });
    for (size_t i = 1; i < places.size(); ++i) {
        if (places[i].span.begin < places[i - 1].span.end)
            addFinding(cPackageFinding::EntryRecord, places[i].name,
                       QStringLiteral("it overlaps with \"%1\"").arg(places[i - 1].name));
    }
}

void cPackageCheck::checkContents(const cPackage& package)
{
    QByteArray content;
    QString error;
    for (const cZipRecord& record : package.records()) {
        if (record.isListed() && !package.readContent(record, &content, &error))
            addFinding(cPackageFinding::EntryContent, record.name, error);
    }
}

void cPackageCheck::checkManifest(const cPackage& package)
{
    for (const cZipRecord& record : package.records()) {
        if (record.name != ManifestRules::FileName || !record.isListed())
            continue;
        QByteArray xml;
        QString error;
        if (record.uncompressedSize > MaxManifestSize)
            addFinding(cPackageFinding::Manifest, ManifestRules::FileName,
                       QStringLiteral("it is larger than a manifest may be"));
        else if (package.readContent(record, &xml, &error))
            readManifest(xml);
        return;
    }
    addFinding(cPackageFinding::Manifest, QString(),
               QStringLiteral("it has no %1").arg(ManifestRules::FileName) + whereElse(package));
}

void cPackageCheck::readManifest(const QByteArray& xml)
{
    cXmlTree tree;
    QString reason;
    if (!cXmlReader::read(xml, tree, &reason)) {
        addFinding(cPackageFinding::Manifest, ManifestRules::FileName, reason);
        return;
    }
    const cXmlElement plugin = tree.root().firstChild(u"plugin");
    m_id = cPluginId(plugin.attribute(u"name"), cVersion(plugin.attribute(u"version")));
    if (m_id.isNull()) {
        addFinding(cPackageFinding::Manifest, ManifestRules::FileName,
                   QStringLiteral("it gives no plugin with a name"));
        return;
    }
    checkIdentity();
    checkStart(xml);
}

/// What the start refuses whatever else is installed.
void cPackageCheck::checkStart(const QByteArray& xml)
{
    cManifest manifest;
    cManifestReader reader(m_id, QString(), manifest);
    if (!reader.read(xml, ManifestRules::FileName))
        addFinding(cPackageFinding::Start, QString(), reader.errorString());
    else if (const auto fault = cStartRules().enter(m_id, manifest.runtimeApiVersion, manifest.services))
        addFinding(cPackageFinding::Start, QString(), fault->reason);
}

void cPackageCheck::checkIdentity()
{
    if (!m_id.isSafe())
        addFinding(cPackageFinding::Identity, ManifestRules::FileName,
                   QStringLiteral("\"%1\" cannot name a folder").arg(m_id.name()));
    else if (!m_expected.isNull() && m_id != m_expected)
        addFinding(cPackageFinding::Identity, ManifestRules::FileName,
                   QStringLiteral("it is the manifest of %1, where %2 is expected")
                       .arg(m_id.toString(), m_expected.toString()));
}

bool cPackageCheck::addFinding(cPackageFinding::Rule rule, const QString& entry, const QString& text)
{
    m_findings.append({rule, entry, text});
    return false;
}
