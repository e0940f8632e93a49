#pragma once

#include "report/Rules.h"

#include <QtCore/QList>
#include <QtCore/QString>

class cXmlElement;

/// A rule that is broken, and where.
struct cFinding
{
    Rule rule;
    QString file;   ///< Path or URL; for an entry of a package "PACKAGE!ENTRY".
    int line = 0;   ///< From 1; 0 when the finding is about the file as a whole.
    int column = 0; ///< From 1; 0 likewise.
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
