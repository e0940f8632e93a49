#include "pack/cPluginFolder.h"

#include "report/cFindings.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

// The archive reader takes each byte of a name for a character.
bool isAscii(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; });
}

} // namespace

cPluginFolder::cPluginFolder(const QString& path, const QStringList& excluded)
    : m_path(QDir(path).absolutePath()), m_excluded(excluded)
{
}

void cPluginFolder::scan(cFindings& findings)
{
    m_files.clear();
    m_lowerNames.clear();
    QStringList pending{QString()};
    while (!pending.isEmpty())
        scanFolder(pending.takeLast(), pending, findings);
    std::sort(m_files.begin(), m_files.end(), [](const File& a, const File& b) { return a.name < b.name; });
    if (!names().contains(ManifestRules::FileName))
        findings.add(Rule::FolderNoManifest, m_path, QStringLiteral("there is no Manifest.xml"));
}

QSet<QString> cPluginFolder::names() const
{
    QSet<QString> names;
    for (const File& file : m_files)
        names.insert(file.name);
    return names;
}

void cPluginFolder::scanFolder(const QString& relative, QStringList& pending, cFindings& findings)
{
    const QString prefix = relative.isEmpty() ? relative : relative + QLatin1Char('/');
    const QDir folder(m_path + QLatin1Char('/') + relative);
    if (!folder.isReadable())
        return findings.add(Rule::FileUnreadable, folder.path(), QStringLiteral("the folder cannot be read"));
    const QFileInfoList entries =
        folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& info : entries) {
        const QString name = prefix + info.fileName();
        if (isExcluded(name) || !isNameGood(name, info, findings))
            continue;
        if (info.isSymLink() || info.isJunction())
            findings.add(Rule::FolderLink, info.filePath(), QStringLiteral("this is a link"));
        else if (info.isDir())
            pending.append(name);
        else if (!info.isFile())
            findings.add(Rule::FolderSpecial, info.filePath(), QStringLiteral("this is neither a file nor a folder"));
        else
            addFile(name, info, findings);
    }
}

void cPluginFolder::addFile(const QString& name, const QFileInfo& info, cFindings& findings)
{
    if (!info.isReadable())
        return findings.add(Rule::FileUnreadable, info.filePath(), QStringLiteral("the file cannot be read"));
    if (info.size() == 0) {
        findings.add(Rule::FolderEmptyFile, info.filePath(),
                     QStringLiteral("an installation leaves an empty file out"));
    }
    m_files.append({name, info.filePath(), info.size()});
}

bool cPluginFolder::isNameGood(const QString& name, const QFileInfo& info, cFindings& findings)
{
    if (!isSafeFileName(info.fileName()) || !isAscii(info.fileName())) {
        findings.add(Rule::FolderBadName, info.filePath(), QStringLiteral("not every system can have this name"));
        return false;
    }
    if (m_lowerNames.contains(name.toLower())) {
        findings.add(Rule::FolderNameClash, info.filePath(),
                     QStringLiteral("another name differs from this one in case only"));
        return false;
    }
    m_lowerNames.insert(name.toLower());
    return true;
}

bool cPluginFolder::isExcluded(const QString& name) const
{
    return std::any_of(m_excluded.begin(), m_excluded.end(), [&](const QString& pattern) {
        const QString form = QRegularExpression::wildcardToRegularExpression(pattern);
        return QRegularExpression(form).match(name).hasMatch() ||
               QRegularExpression(form).match(name.section(QLatin1Char('/'), -1)).hasMatch();
    });
}
