#include "lint/cXmlLint.h"

#include "core/cXmlReader.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"

#include <QtCore/QRegularExpression>

bool cXmlLint::readTree(const QByteArray& xml, const cGrammar& grammar)
{
    if (!readTree(xml))
        return false;
    checkNames(m_tree.root(), QString(), grammar);
    return true;
}

bool cXmlLint::readTree(const QByteArray& xml)
{
    QString reason;
    if (!cXmlReader::read(xml, m_tree, &reason)) {
        static const QRegularExpression form(QStringLiteral("\\Aline ([0-9]+), column ([0-9]+): (.*)\\z"));
        const QRegularExpressionMatch match = form.match(reason);
        const QString text = match.hasMatch() ? match.captured(3) : reason;
        m_findings.add({Rule::XmlMalformed, m_file, match.captured(1).toInt(), match.captured(2).toInt(), text});
        return false;
    }
    return true;
}

// As deep as the grammar goes: nothing below an unknown element is looked at.
void cXmlLint::checkNames(const cXmlElement& element, const QString& path, const cGrammar& grammar)
{
    QStringList attributes, children;
    for (const QString& name : grammar.value(path))
        name.startsWith(QLatin1Char('@')) ? attributes.append(name.mid(1)) : children.append(name);
    const QString tag = element.tag().toString();
    for (int i = 0; i < element.attributeCount(); ++i) {
        const QString name = element.attributeName(i).toString();
        if (!attributes.contains(name) && !ManifestRules::isOfXml(name))
            reportUnread(element, true, ManifestRules::unreadText(name, true, tag, attributes));
    }
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QString childTag = child.tag().toString();
        if (children.contains(childTag))
            checkNames(child, path.isEmpty() ? childTag : path + QLatin1Char('/') + childTag, grammar);
        else
            reportUnread(child, false, ManifestRules::unreadText(childTag, false, tag, children));
    }
}

void cXmlLint::reportUnread(const cXmlElement& element, bool isAttribute, const QString& text)
{
    report(isAttribute ? Rule::XmlUnknownAttribute : Rule::XmlUnknownElement, element, text);
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
