#include "report/cFindings.h"

#include "common/Terminal.h"
#include "common/cCommand.h"
#include "core/cXmlTree.h"
#include "version/Shown.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

void cFindings::add(Rule rule, const QString& file, const cXmlElement& element, const QString& text)
{
    m_list.append({rule, file, element.line(), element.column(), text});
}

int cFindings::count(Severity severity) const
{
    return int(
        std::count_if(m_list.begin(), m_list.end(), [&](const cFinding& f) { return f.severity() == severity; }));
}

bool cFindings::has(Rule rule) const
{
    return std::any_of(m_list.begin(), m_list.end(), [&](const cFinding& f) { return f.rule == rule; });
}

void cReport::addJsonOption(cSyntax& syntax)
{
    syntax.add("--json", &m_isJson, "Print one JSON object for programs");
}

void cReport::addOptions(cSyntax& syntax)
{
    addJsonOption(syntax);
    syntax.add("--strict", &m_isStrict, "Warnings count as errors");
}

ExitCode cReport::print(const cFindings& findings, const QStringList& hints) const
{
    const int errors = findings.count(Severity::Error);
    const int warnings = findings.count(Severity::Warning);
    if (m_isJson) {
        printJson(findings, QJsonObject());
    } else {
        for (const cFinding& finding : findings.list())
            Terminal::answer(line(finding));
        Terminal::note(counted(errors, "error") + QStringLiteral(", ") + counted(warnings, "warning"));
    }
    for (const QString& hint : hints)
        Terminal::note(hint);
    return errors > 0 || (m_isStrict && warnings > 0) ? ExitCode::Faults : ExitCode::Ok;
}

ExitCode cReport::end(ExitCode code, const cFindings& findings, const QString& reason, const cStyledLines& lines,
                      const QJsonObject& object) const
{
    QJsonObject all = code == ExitCode::Ok ? object : QJsonObject();
    if (!reason.isEmpty())
        all.insert(QStringLiteral("error"), reason);
    if (m_isJson)
        printJson(findings, all);
    else
        for (const cFinding& finding : findings.list())
            Terminal::note(line(finding));
    if (!reason.isEmpty())
        Terminal::error(reason);
    if (!m_isJson && code == ExitCode::Ok && !lines.isEmpty())
        Terminal::answer(lines);
    return code;
}

ExitCode cReport::fail(ExitCode code, const QString& reason) const
{
    return end(code, cFindings(), reason, {}, {});
}

QString cReport::line(const cFinding& finding)
{
    QString place = finding.file;
    if (finding.line > 0)
        place += QStringLiteral(":%1:%2").arg(finding.line).arg(finding.column);
    return place + QStringLiteral(": ") + Rules::word(finding.severity()) + QStringLiteral(": ") + finding.text +
           QStringLiteral(" [") + Rules::name(finding.rule) + QLatin1Char(']');
}

void cReport::printJson(const cFindings& findings, QJsonObject object)
{
    QJsonArray list;
    for (const cFinding& finding : findings.list()) {
        QJsonObject member{{"file", finding.file},
                           {"severity", Rules::word(finding.severity())},
                           {"rule", Rules::name(finding.rule)},
                           {"text", finding.text}};
        if (finding.line > 0) {
            member["line"] = finding.line;
            member["column"] = finding.column;
        }
        list.append(member);
    }
    object["errors"] = findings.count(Severity::Error);
    object["warnings"] = findings.count(Severity::Warning);
    object["findings"] = list;
    Terminal::answerJson(QString::fromUtf8(QJsonDocument(object).toJson()).trimmed());
}
