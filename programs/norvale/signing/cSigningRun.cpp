#include "signing/cSigningRun.h"

#include "common/cCommand.h"

#include <QtCore/QFileInfo>

void cSigningRun::addKeysOption(cSyntax& syntax, QString* keys)
{
    syntax.add("--keys", keys, "The folder of the keys that sign; default: the environment's NORVALE_SITE_KEYS", "DIR");
}

QString cSigningRun::keyFolder(const QString& given)
{
    return given.isEmpty() ? qEnvironmentVariable("NORVALE_SITE_KEYS") : given;
}

bool cSigningRun::begin(const QString& keys, bool mustHave)
{
    const QString folder = keyFolder(keys);
    m_code = ExitCode::Usage;
    m_errorString = QStringLiteral("--keys says where the keys lie");
    if (mustHave && folder.isEmpty())
        return false;
    m_code = ExitCode::ReadFailed;
    m_errorString = QStringLiteral("there is no folder %1").arg(m_site);
    if (m_site.contains(QLatin1String("://")) || (!mustHave && !QFileInfo(m_site).isDir()))
        return false;
    if (!folder.isEmpty() && !m_keys.open(folder, m_site)) {
        m_errorString = m_keys.errorString();
        return false;
    }
    m_code = m_files.begin(m_site);
    m_errorString = m_files.errorString();
    return m_code == ExitCode::Ok;
}

ExitCode cSigningRun::sign(const cReport& report)
{
    const ExitCode code = m_signer.run();
    if (code != ExitCode::Ok && code != ExitCode::NotSigned)
        return fail(report, code, m_signer.errorString());
    m_files.keep();
    const QStringList made = m_keys.keep();
    m_signer.tidy();
    QStringList lines;
    for (const QString& path : made)
        lines.append(QStringLiteral("new: ") + path);
    lines += m_files.lines() + m_signer.changes();
    if (!m_files.isChanged() && code == ExitCode::Ok)
        lines.append(QStringLiteral("nothing is to be signed in %1").arg(m_site));
    cStyledLines styled;
    for (const QString& line : qAsConst(lines))
        styled.append(line);
    const QJsonObject object{{"documents", m_signer.json()},
                             {"changed", m_files.isChanged()},
                             {"changes", QJsonArray::fromStringList(m_signer.changes())},
                             {"files", m_files.json()}};
    report.end(ExitCode::Ok, m_signer.findings(), QString(), styled, object);
    return code;
}

ExitCode cSigningRun::end(const cReport& report, const QStringList& lines, QJsonObject object)
{
    m_files.keep();
    cStyledLines styled;
    for (const QString& path : m_keys.keep())
        styled.append(QStringLiteral("new: ") + path);
    for (const QString& line : m_files.lines() + lines)
        styled.append(line);
    object["files"] = m_files.json();
    return report.end(ExitCode::Ok, cFindings(), QString(), styled, object);
}

ExitCode cSigningRun::fail(const cReport& report, ExitCode code, const QString& reason) const
{
    return report.end(code, m_signer.findings(), reason, {}, {});
}
