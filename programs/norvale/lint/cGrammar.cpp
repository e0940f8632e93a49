#include "lint/cGrammar.h"

#include "core/cXmlTree.h"
#include "report/cFindings.h"

cGrammar::cGrammar(std::initializer_list<Entry> entries)
{
    const auto words = [](const char* text) {
        return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    };
    for (const Entry& entry : entries)
        m_known.insert(QLatin1String(entry.path), {words(entry.attributes), words(entry.children)});
}

void cGrammar::check(const cXmlElement& root, const QString& file, cFindings& findings) const
{
    check(root, QString(), file, findings);
}

// As deep as the grammar goes.
void cGrammar::check(const cXmlElement& element, const QString& path, const QString& file, cFindings& findings) const
{
    const Known known = m_known.value(path);
    const QString tag = element.tag().toString();
    for (const QString& name : element.attributeNames()) {
        const bool isForXml = name.startsWith(QLatin1String("xml")) || name.contains(QLatin1Char(':'));
        if (!isForXml && !known.attributes.contains(name))
            findings.add(Rule::XmlUnknownAttribute, file, element,
                         QStringLiteral("the attribute \"%1\" of <%2> is not read").arg(name, tag));
    }
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QString childTag = child.tag().toString();
        if (known.children.contains(childTag))
            check(child, path.isEmpty() ? childTag : path + QLatin1Char('/') + childTag, file, findings);
        else
            findings.add(Rule::XmlUnknownElement, file, child,
                         QStringLiteral("<%1> in <%2> is not read").arg(childTag, tag));
    }
}
