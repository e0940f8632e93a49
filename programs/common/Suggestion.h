#pragma once

#include <QtCore/QStringList>

struct cDescription;

/// What somebody may have meant who typed @p word: "; did you mean NAME?" with the nearest of @p known, or nothing when
/// none is near.
QString suggestionFor(const QString& word, const QStringList& known);

/// Which command or option of @p arguments a program of that description does not have, with what may have been meant;
/// empty when it has them all. The first of the arguments is the program.
QString unknownIn(const QStringList& arguments, const cDescription& description);
