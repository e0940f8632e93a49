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

void cReport::addOptions(cSyntax& syntax)
{
    syntax.add("--json", &m_isJson, "Print one JSON object for programs");
    syntax.add("--strict", &m_isStrict, "Warnings count as errors");
}

ExitCode cReport::print(const cFindings& findings) const
{
    if (m_isJson) {
        Terminal::answerJson(json(findings));
    } else {
        for (const cFinding& finding : findings.list())
            Terminal::answer(line(finding));
    }
    const int errors = findings.count(Severity::Error);
    const int warnings = findings.count(Severity::Warning);
    if (!m_isJson)
        Terminal::note(counted(errors, "error") + QStringLiteral(", ") + counted(warnings, "warning"));
    return errors > 0 || (m_isStrict && warnings > 0) ? ExitCode::Faults : ExitCode::Ok;
}

QString cReport::line(const cFinding& finding)
{
    QString place = finding.file;
    if (finding.line > 0)
        place += QStringLiteral(":%1:%2").arg(finding.line).arg(finding.column);
    return place + QStringLiteral(": ") + Rules::word(finding.severity()) + QStringLiteral(": ") + finding.text +
           QStringLiteral(" [") + Rules::name(finding.rule) + QLatin1Char(']');
}

void cReport::tell(const cFindings& findings)
{
    for (const cFinding& finding : findings.list())
        Terminal::note(line(finding));
}

QString cReport::json(const cFindings& findings)
{
    QJsonArray list;
    for (const cFinding& finding : findings.list()) {
        QJsonObject object{{"file", finding.file},
                           {"severity", Rules::word(finding.severity())},
                           {"rule", Rules::name(finding.rule)},
                           {"text", finding.text}};
        if (finding.line > 0) {
            object["line"] = finding.line;
            object["column"] = finding.column;
        }
        list.append(object);
    }
    const QJsonObject root{{"errors", findings.count(Severity::Error)},
                           {"warnings", findings.count(Severity::Warning)},
                           {"findings", list}};
    return QString::fromUtf8(QJsonDocument(root).toJson()).trimmed();
}
