#include "lint/cPackageLint.h"

#include "install/cPackage.h"
#include "install/cPackageCheck.h"
#include "lint/cManifestLint.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"

#include <QtCore/QSet>

#include <zlib.h>

namespace {

Rule ruleOf(cPackageFinding::Rule rule)
{
    switch (rule) {
    case cPackageFinding::Readable:
        return Rule::PackageReadable;
    case cPackageFinding::Hash:
        return Rule::PackageHash;
    case cPackageFinding::Manifest:
    case cPackageFinding::Start: // the manifest's own check tells it, with the place
        return Rule::PackageManifest;
    case cPackageFinding::Identity:
        return Rule::PackageIdentity;
    case cPackageFinding::EntryName:
        return Rule::PackageEntryName;
    case cPackageFinding::EntryClash:
        return Rule::PackageEntryClash;
    case cPackageFinding::EntryType:
        return Rule::PackageEntryType;
    case cPackageFinding::EntryRecord:
        return Rule::PackageEntryRecord;
    case cPackageFinding::EntryContent:
        return Rule::PackageEntryContent;
    case cPackageFinding::Size:
        return Rule::PackageSize;
    }
    return Rule::PackageReadable;
}

} // namespace

bool cPackageLint::check(const QByteArray& bytes)
{
    // Not those of this machine's settings: what is found must be the same everywhere.
    cPackageCheck rules{cPackageCheck::Limits()};
    m_manifest.reset();
    const bool isInstallable = rules.check(bytes);
    bool isReadable = true;
    for (const cPackageFinding& finding : rules.findings()) {
        if (finding.rule == cPackageFinding::Start)
            continue;
        isReadable = false;
        m_findings.add(ruleOf(finding.rule),
                       finding.entry.isEmpty() ? m_file : m_file + QLatin1Char('!') + finding.entry, finding.text);
    }
    if (!isReadable)
        return false;
    m_name = rules.id().name();
    m_version = rules.id().version();
    cPackage package;
    package.setBytes(bytes);
    if (!package.readDirectory())
        return false;
    checkManifest(package);
    checkSums(package);
    return isInstallable;
}

// An installation goes by the hash of the whole; other programs would refuse the entry.
void cPackageLint::checkSums(const cPackage& package)
{
    QByteArray content;
    QString error;
    for (const cZipRecord& record : package.records()) {
        if (!record.isListed() || !package.readContent(record, &content, &error))
            continue;
        const auto* const data = reinterpret_cast<const Bytef*>(content.constData());
        if (crc32(0, data, uInt(content.size())) != record.crc) {
            m_findings.add(Rule::PackageCrc, m_file + QLatin1Char('!') + record.name,
                           QStringLiteral("its CRC-32 is not the one that the archive states"));
        }
    }
}

void cPackageLint::checkManifest(const cPackage& package)
{
    QSet<QString> names;
    for (const cZipRecord& record : package.records()) {
        if (record.isListed())
            names.insert(record.name);
    }
    const QByteArray xml = packageManifest(package);
    const QString file = m_file + QLatin1Char('!') + ManifestRules::FileName;
    cManifestLint lint(file, m_findings);
    lint.setNeighbours(names);
    lint.check(xml);
    m_manifest = cManifestLint::read(xml, file);
    m_qtMajors = m_manifest ? packageQtMajors(package, *m_manifest) : cQtMajors();
}
