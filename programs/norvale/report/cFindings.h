#pragma once

#include "common/ExitCode.h"
#include "common/cStyledLine.h"
#include "report/Rules.h"

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

class cXmlElement;
struct cSyntax;

/// A rule that is broken, and where.
struct cFinding
{
    Rule rule;
    QString file;   // path or URL; for an entry of a package "PACKAGE!ENTRY"
    int line = 0;   // from 1; 0 when the finding is about the file as a whole
    int column = 0; // from 1; 0 likewise
    QString text;

    Severity severity() const { return Rules::severity(rule); }
};

/// What a check found, in the order in which it was found.
class cFindings
{
public:
    void add(const cFinding& finding) { m_list.append(finding); }
    void add(Rule rule, const QString& file, const QString& text) { m_list.append({rule, file, 0, 0, text}); }

    /// At the place of @p element.
    void add(Rule rule, const QString& file, const cXmlElement& element, const QString& text);

    const QList<cFinding>& list() const { return m_list; }
    int count(Severity severity) const;
    bool has(Rule rule) const;
    bool hasErrors() const { return count(Severity::Error) > 0; }

private:
    QList<cFinding> m_list;
};

/// How findings are told: as lines like those of compilers, or as one JSON object for programs.
class cReport
{
public:
    /// Adds the options that choose the form, and what counts.
    void addOptions(cSyntax& syntax);

    /// Adds --json alone.
    void addJsonOption(cSyntax& syntax);

    /// For a command whose answer are the findings: prints them on standard output and their number on standard error,
    /// and @p hints, which tell what else there is to do, after that. @return Faults when a finding is an error, or a
    /// warning and the report is strict.
    ExitCode print(const cFindings& findings, const QStringList& hints = {}) const;

    /**
     * For a command that has another answer: prints it, as @p lines or as the members of @p object, when @p code is Ok.
     * Findings and the @p reason of another code go to standard error. With --json one object is printed whatever the
     * code is: findings as in print(), "error" where there is a reason, and the members.
     * @return @p code.
     */
    ExitCode end(ExitCode code, const cFindings& findings, const QString& reason, const cStyledLines& lines,
                 const QJsonObject& object) const;

    /// A command that ends before there is anything to report. @return @p code.
    ExitCode fail(ExitCode code, const QString& reason) const;

    /// "FILE:LINE:COLUMN: SEVERITY: TEXT [RULE]", without the numbers where there are none.
    static QString line(const cFinding& finding);

private:
    static void printJson(const cFindings& findings, QJsonObject object);

    bool m_isJson = false;
    bool m_isStrict = false;
};
