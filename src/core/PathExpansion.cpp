#include <Norvale/Corvane.h>

#include <array>

namespace {

struct Placeholder
{
    QString token;
    QString value;
};

/// Values that name each other would go on for ever; no sensible path needs more passes.
constexpr int maximalPasses = 100;

Placeholder placeholder(const char* name, const QString& value)
{
    return {QStringLiteral("$(%1)").arg(QLatin1String(name)), value};
}

/// Replaces the first occurrence; a value that holds its own placeholder is cut first, and stays so. @return whether
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

QString Corvane::expandPath(const QString& path)
{
    std::array<Placeholder, 5> placeholders = {
        placeholder("locale", currentLocale()), placeholder("language", currentLocaleLanguage()),
        placeholder("country", currentLocaleCountry()), placeholder("region", currentRegion()),
        placeholder("platform", currentPlatform())};

    QString result = path;
    bool isChanged = true;
    for (int pass = 0; isChanged && pass < maximalPasses; ++pass) {
        isChanged = false;
        for (Placeholder& each : placeholders)
            isChanged = replaceFirst(result, each) || isChanged;
    }
    return result;
}
