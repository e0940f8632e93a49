#include "lint/cXmlLint.h"

#include "core/cXmlTreeReader.h"
#include "lint/VersionText.h"
#include "lint/cGrammar.h"
#include "report/cFindings.h"

#include <QtCore/QRegularExpression>

bool cXmlLint::readTree(const QByteArray& xml, const cGrammar& grammar)
{
    QString reason;
    if (!cXmlTreeReader::read(xml, m_tree, &reason)) {
        static const QRegularExpression form(QStringLiteral("\\Aline ([0-9]+), column ([0-9]+): (.*)\\z"));
        const QRegularExpressionMatch match = form.match(reason);
        const QString text = match.hasMatch() ? match.captured(3) : reason;
        m_findings.add({Rule::XmlMalformed, m_file, match.captured(1).toInt(), match.captured(2).toInt(), text});
        return false;
    }
    grammar.check(m_tree.root(), m_file, m_findings);
    return true;
}

void cXmlLint::report(Rule rule, const cXmlElement& element, const QString& text)
{
    m_findings.add(rule, m_file, element, text);
}

void cXmlLint::checkVersion(Rule rule, const cXmlElement& element, QStringView name)
{
    const QString text = element.attribute(name);
    if (!isVersionText(text))
        report(rule, element, versionComplaint(text));
}
