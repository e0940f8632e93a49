#include "cWordCount.h"

#include <QtCore/QTextBoundaryFinder>

#include <algorithm>

namespace {
/// Counts the pieces between two boundaries of @p type that @p counts accepts.
template <typename Predicate>
int countPieces(const QString& text, QTextBoundaryFinder::BoundaryType type, Predicate counts)
{
    QTextBoundaryFinder finder(type, text);
    int count = 0;
    int begin = 0;
    for (int end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary()) {
        if (counts(QStringView(text).mid(begin, end - begin)))
            ++count;
        begin = end;
    }
    return count;
}
} // namespace

int cWordCount::words(const QString& text) const
{
    return countPieces(text, QTextBoundaryFinder::Word, [](QStringView piece) {
        return std::any_of(piece.begin(), piece.end(), [](QChar c) { return c.isLetterOrNumber(); });
    });
}

int cWordCount::sentences(const QString& text) const
{
    return countPieces(text, QTextBoundaryFinder::Sentence,
                       [](QStringView piece) { return !piece.trimmed().isEmpty(); });
}

int cWordCount::characters(const QString& text) const
{
    return countPieces(text, QTextBoundaryFinder::Grapheme, [](QStringView) { return true; });
}
