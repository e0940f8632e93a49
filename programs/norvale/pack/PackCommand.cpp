#include "Commands.h"
#include "common/cProgram.h"
#include "core/Files.h"
#include "install/cPackageCheck.h"
#include "lint/InputFile.h"
#include "lint/cManifestLint.h"
#include "lint/cPackageLint.h"
#include "pack/cPluginFolder.h"
#include "pack/cZipWriter.h"
#include "report/cFindings.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

namespace {

// By what stands in it: the permissions of the folder would differ from one machine to the next.
bool isProgram(const QByteArray& bytes)
{
    return bytes.startsWith("#!") || bytes.startsWith("\x7f"
                                                      "ELF");
}

/// Makes a plugin's package out of its folder.
class cPackageMaker
{
public:
    /// @p excluded as cPluginFolder takes it.
    cPackageMaker(const QString& folder, const QStringList& excluded) : m_folder(folder), m_excluded(excluded) {}

    /// Reads the folder, makes the package, and holds it against the rules of an installation. @return false when one
    /// of @p findings is an error; there is no package then.
    [[nodiscard]] bool make(cFindings& findings);

    /// "NAME-VERSION.zip" as the manifest says. This and bytes() are valid after make().
    QString fileName() const { return m_fileName; }
    QByteArray bytes() const { return m_bytes; }

private:
    bool readManifest(const cPluginFolder& folder, cFindings& findings);
    bool write(const cPluginFolder& folder, cFindings& findings);
    QSet<QString> tooDenseEntries() const;
    bool isWithinLimits(const cPluginFolder& folder, cFindings& findings) const;

    QString m_folder;
    QStringList m_excluded;
    QString m_fileName;
    QByteArray m_bytes;
    QSet<QString> m_stored; // names of what is not deflated
};

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
    if (!package.check(m_bytes)) {
        for (const cFinding& finding : ofPackage.list())
            findings.add(finding);
    }
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
    if (size > limit) {
        findings.add(Rule::PackageSize, m_folder,
                     QStringLiteral("%1 bytes are more than an installation takes (%2)").arg(size).arg(limit));
    }
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
    for (const cPackageFinding& finding : rules.findings()) {
        if (finding.rule == cPackageFinding::Size && !finding.entry.isEmpty())
            names.insert(finding.entry);
    }
    return names;
}

// The package must not become a part of what it is made of.
bool isOutside(const QString& target, const QString& folder)
{
    const QString whole = QFileInfo(folder).canonicalFilePath() + QLatin1Char('/');
    const QString named = QDir::cleanPath(QFileInfo(target).absoluteFilePath()) + QLatin1Char('/');
    const QString real = QFileInfo(target).canonicalFilePath() + QLatin1Char('/');
    return !named.startsWith(whole) && !real.startsWith(whole);
}

class cPackCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("pack", "Make a plugin's package, NAME-VERSION.zip, out of its folder");
        syntax.add("FOLDER", &m_folder, "The plugin's folder, with its Manifest.xml");
        syntax.add("-o,--output", &m_target, "Folder that the package is written into", "DIR");
        syntax.add("--exclude", &m_excluded, "Leave out files of this name or relative path; * and ? match", "PATTERN");
        m_report.addJsonOption(syntax);
        syntax.footer = "The same folder gives the same bytes at every run. What an installation would refuse is "
                        "refused here.\nThe path of the package is printed.";
    }

    ExitCode run() override
    {
        if (!QFileInfo(m_folder).isDir())
            return m_report.fail(ExitCode::ReadFailed, QStringLiteral("%1 is no folder").arg(m_folder));
        if (!isOutside(m_target, m_folder)) {
            return m_report.fail(
                ExitCode::Usage,
                QStringLiteral("the package would lie in the folder that it is made of; name another with -o"));
        }
        cFindings findings;
        cPackageMaker package(m_folder, m_excluded);
        ExitCode code = package.make(findings) ? ExitCode::Ok : ExitCode::Faults;
        const QString path = QDir(m_target).filePath(package.fileName());
        QString error;
        if (code == ExitCode::Ok && !replaceFile(path, package.bytes(), &error))
            code = ExitCode::WriteFailed;
        const QByteArray hash = sha1Of(package.bytes()).toHex();
        return m_report.end(code, findings, error, {path},
                            {{"package", path}, {"size", package.bytes().size()}, {"sha1", QString::fromLatin1(hash)}});
    }

private:
    cReport m_report;
    QString m_folder;
    QString m_target = QStringLiteral(".");
    QStringList m_excluded;
};

} // namespace

void addPackCommand(cProgram& program)
{
    program.add(std::make_unique<cPackCommand>());
}
