#pragma once

#include <QtCore/QObject>

/// The service "WordCount": counts by the Unicode rules for text boundaries, so in any language.
class cWordCount : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "WordCount")
    Q_CLASSINFO("threadsafe", "true")

public:
    /// Words of @p text; spaces and punctuation are none.
    Q_INVOKABLE int words(const QString& text) const;

    /// Sentences of @p text that hold anything but spaces.
    Q_INVOKABLE int sentences(const QString& text) const;

    /// Characters of @p text as a reader sees them: a letter with its accents is one.
    Q_INVOKABLE int characters(const QString& text) const;
};
