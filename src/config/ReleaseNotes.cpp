#include "config/ReleaseNotes.h"

#include "config/cFeatureCatalogue.h"

#include <QtCore/QMap>

namespace {

/// How well a text in @p language suits who reads @p wanted, both as "en-us": its country's, its language's, the
/// common one, any.
int fitness(const QString& language, const QString& wanted)
{
    const QString text = language.toLower();
    if (!wanted.isEmpty() && text == wanted)
        return 3;
    if (wanted.size() >= 2 && text.section(QLatin1Char('-'), 0, 0) == wanted.section(QLatin1Char('-'), 0, 0))
        return 2;
    return text == QLatin1String("en-us") ? 1 : 0;
}

QString shownText(const QString& text)
{
    QString lines = text.trimmed();
    lines.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (lines.size() > ReleaseNotes::LongestText)
        lines = lines.left(ReleaseNotes::LongestText) + QChar(0x2026);
    return lines;
}

struct Choice
{
    int fitness = -1;
    QString language;
    QString text;
};

} // namespace

QVector<cReleaseNote> ReleaseNotes::between(const cFeatureInstance* installed, const cFeatureInstance& available,
                                            const QString& locale)
{
    const bool isStep = installed && installed->repository() == available.repository();
    const QString wanted = locale.toLower().replace(QLatin1Char('_'), QLatin1Char('-'));
    QMap<cVersion, Choice> chosen;
    for (const cFeatureInstance::Note& note : available.notes()) {
        const bool isOffered = note.version == available.version();
        const bool isOnTheWay = isStep && installed->version() < note.version && note.version < available.version();
        if (!isOffered && !isOnTheWay)
            continue;
        Choice& choice = chosen[note.version];
        const int fits = fitness(note.language, wanted);
        // Of one language the last text counts, of several that fit alike the first.
        if (fits > choice.fitness || note.language == choice.language)
            choice = {fits, note.language, note.text};
    }
    QVector<cReleaseNote> notes;
    for (auto it = chosen.constBegin(); it != chosen.constEnd(); ++it) {
        const QString text = shownText(it->text);
        if (!text.isEmpty())
            notes.prepend({it.key(), text});
    }
    return notes;
}
