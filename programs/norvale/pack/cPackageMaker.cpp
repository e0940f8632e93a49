#include "pack/cPackageMaker.h"

#include "install/cPackageCheck.h"
#include "lint/InputFile.h"
#include "lint/cManifestLint.h"
#include "lint/cPackageLint.h"
#include "pack/cPluginFolder.h"
#include "pack/cZipWriter.h"
#include "report/cFindings.h"
#include "version/cPluginId.h"

namespace {

// By what stands in it: the permissions of the folder would differ from one machine to the next.
bool isProgram(const QByteArray& bytes)
{
    return bytes.startsWith("#!") || bytes.startsWith("\x7f"
                                                      "ELF");
}

} // namespace

bool cPackageMaker::make(cFindings& findings)
{
    cPluginFolder folder(m_folder, m_excluded);
    folder.scan(findings);
    if (findings.hasErrors() || !readManifest(folder, findings) || !isWithinLimits(folder, findings))
        return false;
    if (!write(folder, findings))
        return false;
    m_stored = tooDenseEntries();
    if (!m_stored.isEmpty() && !write(folder, findings))
        return false;
    cFindings ofPackage; // the manifest's have been told
    cPackageLint package(m_fileName, ofPackage);
    if (!package.check(m_bytes))
        for (const cFinding& finding : ofPackage.list())
            findings.add(finding);
    return !findings.hasErrors();
}

bool cPackageMaker::readManifest(const cPluginFolder& folder, cFindings& findings)
{
    QByteArray xml;
    cManifestLint lint(folder.manifestPath(), findings);
    lint.setNeighbours(folder.names());
    if (!readInputFile(folder.manifestPath(), LargestDocument, &xml, findings) || !lint.check(xml))
        return false;
    m_fileName = lint.id().packageFileName();
    return !findings.hasErrors();
}

bool cPackageMaker::isWithinLimits(const cPluginFolder& folder, cFindings& findings) const
{
    qint64 size = 0;
    for (const cPluginFolder::File& file : folder.files())
        size += file.size;
    const qint64 limit = cPackageCheck::Limits().unpackedSize;
    if (size > limit)
        findings.add(Rule::PackageSize, m_folder,
                     QStringLiteral("%1 bytes are more than an installation takes (%2)").arg(size).arg(limit));
    return size <= limit;
}

bool cPackageMaker::write(const cPluginFolder& folder, cFindings& findings)
{
    cZipWriter writer;
    for (const cPluginFolder::File& file : folder.files()) {
        QByteArray bytes;
        if (!readInputFile(file.path, LargestFile, &bytes, findings))
            return false;
        // The archive reader inflates whatever it lists, and it does not list what is empty.
        const bool isStored = bytes.isEmpty() || m_stored.contains(file.name);
        writer.add(file.name, bytes, isStored ? cZipWriter::Method::Stored : cZipWriter::Method::Deflated,
                   isProgram(bytes) ? cZipWriter::Kind::Program : cZipWriter::Kind::Data);
    }
    m_bytes = writer.write();
    if (m_bytes.isEmpty())
        findings.add(Rule::PackageReadable, m_fileName, writer.errorString());
    return !m_bytes.isEmpty();
}

// An installation takes what deflates too well for a bomb, and it takes stored entries as they are.
QSet<QString> cPackageMaker::tooDenseEntries() const
{
    QSet<QString> names;
    cPackageCheck rules{cPackageCheck::Limits()};
    if (rules.check(m_bytes))
        return names;
    for (const cPackageFinding& finding : rules.findings())
        if (finding.rule == cPackageFinding::Size && !finding.entry.isEmpty())
            names.insert(finding.entry);
    return names;
}
