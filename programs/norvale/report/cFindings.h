#pragma once

#include "common/ExitCode.h"
#include "report/Rules.h"

#include <QtCore/QList>
#include <QtCore/QString>

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
    /// Adds the options that choose the form.
    void addOptions(cSyntax& syntax);

    /// Prints @p findings on standard output and their number on standard error. @return Faults when one of them is an
    /// error, or a warning and the report is strict.
    ExitCode print(const cFindings& findings) const;

    /// "FILE:LINE:COLUMN: SEVERITY: TEXT [RULE]", without the numbers where there are none.
    static QString line(const cFinding& finding);

    /// The errors and warnings on standard error, for commands whose answer is another.
    static void tell(const cFindings& findings);

private:
    static QString json(const cFindings& findings);

    bool m_isJson = false;
    bool m_isStrict = false;
};
