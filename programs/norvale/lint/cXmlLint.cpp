#include "lint/cXmlLint.h"

#include "core/cXmlReader.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"

#include <QtCore/QRegularExpression>

bool cXmlLint::readTree(const QByteArray& xml, const cGrammar& grammar)
{
    QString reason;
    if (!cXmlReader::read(xml, m_tree, &reason)) {
        static const QRegularExpression form(QStringLiteral("\\Aline ([0-9]+), column ([0-9]+): (.*)\\z"));
        const QRegularExpressionMatch match = form.match(reason);
        const QString text = match.hasMatch() ? match.captured(3) : reason;
        m_findings.add({Rule::XmlMalformed, m_file, match.captured(1).toInt(), match.captured(2).toInt(), text});
        return false;
    }
    checkNames(m_tree.root(), QString(), grammar);
    return true;
}

// As deep as the grammar goes: nothing below an unknown element is looked at.
void cXmlLint::checkNames(const cXmlElement& element, const QString& path, const cGrammar& grammar)
{
    const QStringList known = grammar.value(path);
    const QString tag = element.tag().toString();
    for (const QString& name : element.attributeNames()) {
        const bool isForXml = name.startsWith(QLatin1String("xml")) || name.contains(QLatin1Char(':'));
        if (!isForXml && !known.contains(QLatin1Char('@') + name)) {
            report(Rule::XmlUnknownAttribute, element,
                   QStringLiteral("the attribute \"%1\" of <%2> is not read").arg(name, tag));
        }
    }
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QString childTag = child.tag().toString();
        if (known.contains(childTag))
            checkNames(child, path.isEmpty() ? childTag : path + QLatin1Char('/') + childTag, grammar);
        else
            report(Rule::XmlUnknownElement, child, QStringLiteral("<%1> in <%2> is not read").arg(childTag, tag));
    }
}

void cXmlLint::report(Rule rule, const cXmlElement& element, const QString& text)
{
    m_findings.add(rule, m_file, element, text);
}

void cXmlLint::checkVersion(Rule rule, const cXmlElement& element, QStringView name)
{
    const QString reason = ManifestRules::versionReason(element.attribute(name));
    if (!reason.isEmpty())
        report(rule, element, reason);
}
