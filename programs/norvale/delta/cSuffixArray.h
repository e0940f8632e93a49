#pragma once

#include <QtCore/QByteArray>

#include <vector>

/**
 * Finds the longest part of a text that stands at some place in another one: all ends of that text in alphabetical
 * order, searched by halves. It takes four bytes for each byte of the text.
 *
 * Everything that is bound to the sorting library is behind this class; a program that is built without it sorts
 * nothing.
 */
class cSuffixArray
{
public:
    struct Match
    {
        int place = 0; // in the text that was sorted
        int length = 0;
    };

    /// Whether the program is built with the sorting library.
    static bool isAvailable();

    /// Sorts @p text, which is to outlive this. @return false without the library, or memory.
    [[nodiscard]] bool sort(const QByteArray& text);

    /// The longest part of the text that @p size bytes at @p bytes begin with; of no length when that is below two.
    Match longest(const char* bytes, int size) const;

private:
    void noteFirstBytes();
    int common(int index, const char* bytes, int size, int known) const;

    const char* m_text = nullptr;
    int m_size = 0;
    std::vector<int> m_order; // places in the text
    std::vector<int> m_first; // where in the order the ends begin that have these two bytes first
};
