#pragma once

#include <QtCore/QByteArray>

#include <vector>

class cSuffixArray;

/**
 * What makes one text from another that resembles it: stretches of the old text to which differences are added, and
 * new bytes between them.
 *
 * A program that was built anew has most of its code at other places, and in it the addresses of what has moved: most
 * bytes agree, a few differ by the same small numbers again and again. So a stretch goes on where bytes differ, as long
 * as most agree, and the differences are easy to compress.
 */
class cDifference
{
public:
    struct Instruction
    {
        qint64 add = 0;  // bytes of the old text, each with its difference
        qint64 copy = 0; // new bytes
        qint64 skip = 0; // how far the place in the old text moves then
    };

    /// Compares @p fresh with @p old, which @p sorted has sorted.
    cDifference(const QByteArray& old, const cSuffixArray& sorted, const QByteArray& fresh);

    const std::vector<Instruction>& instructions() const { return m_instructions; }
    const QByteArray& differences() const { return m_differences; }
    const QByteArray& extra() const { return m_extra; }

private:
    /// A stretch: the fresh text from @p fresh on resembles the old one from @p old on.
    struct Stretch
    {
        int fresh = 0;
        int old = 0;
    };

    Stretch next(const Stretch& stretch, int from, int* length) const;
    bool agrees(const Stretch& stretch, int place) const;
    int forward(const Stretch& stretch, int end) const;
    int backward(const Stretch& stretch, int begin) const;
    int split(const Stretch& first, int firstLength, const Stretch& second, int secondLength) const;
    void write(const Stretch& stretch, int length, int end, const Stretch& following);
    void append(const Instruction& instruction);

    const QByteArray& m_old;
    const cSuffixArray& m_sorted;
    const QByteArray& m_fresh;
    std::vector<Instruction> m_instructions;
    QByteArray m_differences;
    QByteArray m_extra;
};
