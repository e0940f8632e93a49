#include <Norvale/Corvane.h>

#include "core/Settings.h"

#include <QtXml/QDomElement>

#include <array>

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

// Passes of expandPath(). Values that name each other would go on for ever; no sensible path needs more.
constexpr int MaxPasses = 100;

struct Placeholder
{
    QString token;
    QString value;
};

Placeholder placeholder(const char* name, const QString& value)
{
    return {QStringLiteral("$(%1)").arg(QLatin1String(name)), value};
}

/// Replaces the first occurrence. A value that holds its own placeholder is cut first, and stays so. @return whether
/// there was one.
bool replaceFirst(QString& text, Placeholder& placeholder)
{
    const int at = text.indexOf(placeholder.token);
    if (at < 0)
        return false;
    const int own = placeholder.value.indexOf(placeholder.token);
    if (own >= 0)
        placeholder.value.remove(own, placeholder.token.size());
    text.replace(at, placeholder.token.size(), placeholder.value);
    return true;
}

} // namespace

QString Corvane::currentLocale()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::Locale)).toString();
}

QString Corvane::currentLocaleLanguage()
{
    return currentLocale().left(2);
}

QString Corvane::currentLocaleCountry()
{
    return currentLocale().right(2);
}

QString Corvane::currentRegion()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::Region), QStringLiteral("varkel")).toString();
}

QLatin1String Corvane::currentPlatform()
{
    return QLatin1String("x64");
}

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

QString Corvane::expandPath(const QString& path)
{
    std::array<Placeholder, 5> placeholders = {
        placeholder("locale", currentLocale()), placeholder("language", currentLocaleLanguage()),
        placeholder("country", currentLocaleCountry()), placeholder("region", currentRegion()),
        placeholder("platform", currentPlatform())};

    QString result = path;
    bool isChanged = true;
    for (int pass = 0; isChanged && pass < MaxPasses; ++pass) {
        isChanged = false;
        for (Placeholder& each : placeholders)
            isChanged = replaceFirst(result, each) || isChanged;
    }
    return result;
}
