#include "report/cFindings.h"

#include "core/cXmlTree.h"

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
