#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <deque>
#include <string>
#include <string_view>

/**
 * Looks through a text before Qt reads it, for what Qt does not mind and signed metadata must not have: nesting without
 * a bound, which Qt follows on the stack; values without end, each of which takes far more memory than its text;
 * members that stand twice, of which it keeps one; halves of surrogate pairs; and numbers that it rounds. Whether the
 * text is JSON at all is left to Qt.
 */
class cJsonBounds
{
public:
    static constexpr int MaxDepth = 64;
    static constexpr int MaxValues = 4000000; // twice what the largest document has when it names files

    /// @p text must outlive it.
    explicit cJsonBounds(const QByteArray& text) : m_text(text), m_at(text.constData()), m_end(m_at + text.size()) {}

    /// Looks through all of it.
    [[nodiscard]] bool hold();
    /// "line L, column C: what is wrong" when it did not hold.
    const QString& errorString() const { return m_errorString; }

    /// @p reason with the place in @p text, of which @p at is a byte.
    static QString placed(const QByteArray& text, int at, const QString& reason);

private:
    struct Name
    {
        std::string_view text; // decoded
        const char* at;
    };

    bool fail(const char* at, const QString& reason);
    bool token();
    bool open();
    bool close();
    bool string();
    bool escape(std::string& decoded);
    bool unit(char16_t& unit);
    bool number();

    const QByteArray& m_text;
    const char* m_at;
    const char* const m_end;
    QString m_errorString;
    int m_values = 0;
    QVector<int> m_levels; // of each open bracket where its names begin
    QVector<Name> m_names;
    std::deque<std::string> m_decoded; // names that had escapes
};
