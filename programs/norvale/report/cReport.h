#pragma once

#include "ExitCode.h"

class cFindings;
struct cFinding;
class QString;

/// How findings are told: lines as compilers print them, or one JSON object for programs.
class cReport
{
public:
    enum class Form { Lines, Json };

    cReport(Form form, bool isStrict) : m_form(form), m_isStrict(isStrict) {}

    /// Prints @p findings on standard output and their number on standard error. @return Faults when one of them is an
    /// error, or a warning and the report is strict.
    ExitCode print(const cFindings& findings) const;

    /// "FILE:LINE:COLUMN: SEVERITY: TEXT [RULE]", without the numbers where there are none.
    static QString line(const cFinding& finding);

    /// The errors and warnings on standard error, for commands whose answer is another.
    static void tell(const cFindings& findings);

private:
    static QString json(const cFindings& findings);

    Form m_form;
    bool m_isStrict;
};
