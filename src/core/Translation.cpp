#include <Norvale/Corvane.h>

#include <QtXml/QDomElement>

namespace {

/// The first `string` of a `locale` element that carries @p id; a null element when there is none.
QDomElement findString(const QDomElement& locale, const QString& id)
{
    const QString tag = QStringLiteral("string");
    QDomElement text = locale.firstChildElement(tag);
    while (!text.isNull() && text.attribute(QStringLiteral("id")) != id)
        text = text.nextSiblingElement(tag);
    return text;
}

/// An empty translation counts as missing.
QString textOrId(const QString& text, const QString& id)
{
    return text.isEmpty() ? id : text;
}

} // namespace

QString Corvane::translate(const QDomElement& element, const QString& id)
{
    if (element.isNull())
        return id;

    const QString currentName = currentLocale();
    const QString defaultName = element.attribute(QStringLiteral("defaultlocale"), currentName);
    const QString tag = QStringLiteral("locale");
    QString fallback;
    for (QDomElement locale = element.firstChildElement(tag); !locale.isNull();
         locale = locale.nextSiblingElement(tag)) {
        const QString name = locale.attribute(QStringLiteral("name"));
        if (name != currentName && name != defaultName)
            continue;
        const QDomElement text = findString(locale, id);
        if (text.isNull())
            continue;
        if (name == currentName)
            return textOrId(text.text(), id);
        fallback = text.text();
    }
    return textOrId(fallback, id);
}
