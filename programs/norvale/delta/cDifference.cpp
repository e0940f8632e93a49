#include "delta/cDifference.h"

#include "delta/cSuffixArray.h"

#include <algorithm>

namespace {

/// By how many bytes more another place of the old text has to agree, for a new stretch costs that much.
constexpr int Gain = 8;

/// A stretch that agrees in so many bytes is not left for one that is a little better: in a long run of equal bytes
/// every place would be tried.
constexpr int LongEnough = 1024;

} // namespace

cDifference::cDifference(const QByteArray& old, const cSuffixArray& sorted, const QByteArray& fresh)
    : m_old(old), m_sorted(sorted), m_fresh(fresh)
{
    Stretch stretch;
    int begin = 0; // of the fresh text that is not written yet, less what the stretch reaches back
    int matched = 0;
    while (begin < m_fresh.size()) {
        const Stretch following = next(stretch, stretch.fresh + matched, &matched);
        int length = forward(stretch, following.fresh);
        int back = following.fresh < m_fresh.size() ? backward(following, stretch.fresh) : 0;
        const int overlap = stretch.fresh + length - (following.fresh - back);
        if (overlap > 0) {
            const int kept = split(stretch, length, following, back);
            length += kept - overlap;
            back -= kept;
        }
        const Stretch moved{following.fresh - back, following.old - back};
        write(stretch, length, moved.fresh, moved);
        begin = moved.fresh;
        matched += back;
        stretch = moved;
    }
}

// Where the next stretch has its match, of this length: at a place that agrees in clearly more bytes than this stretch
// goes on to agree in.
cDifference::Stretch cDifference::next(const Stretch& stretch, int from, int* length) const
{
    int agreeing = 0; // bytes in which this stretch agrees with what the match covers
    int counted = from;
    for (int place = from; place < m_fresh.size(); ++place) {
        const cSuffixArray::Match match = m_sorted.longest(m_fresh.constData() + place, m_fresh.size() - place);
        for (; counted < place + match.length; ++counted)
            agreeing += agrees(stretch, counted);
        const bool isSame = match.length > 0 &&
                            (match.length == agreeing || (agreeing >= LongEnough && match.length <= agreeing + Gain));
        if (isSame) {
            place += match.length - 1;
            agreeing = 0;
            counted = place + 1;
            continue;
        }
        if (match.length > agreeing + Gain) {
            *length = match.length;
            return {place, match.place};
        }
        if (place < counted)
            agreeing -= agrees(stretch, place);
        else
            counted = place + 1;
    }
    *length = 0;
    return {int(m_fresh.size()), int(m_old.size())};
}

bool cDifference::agrees(const Stretch& stretch, int place) const
{
    const qint64 old = qint64(stretch.old) + place - stretch.fresh;
    return old >= 0 && old < m_old.size() && m_old.at(int(old)) == m_fresh.at(place);
}

// How far the stretch is worth to be followed: where the bytes that agree are above those that do not by the most.
int cDifference::forward(const Stretch& stretch, int end) const
{
    const int most = std::min(end - stretch.fresh, int(m_old.size()) - stretch.old);
    int agreeing = 0;
    int best = 0;
    int length = 0;
    for (int i = 0; i < most;) {
        agreeing += m_old.at(stretch.old + i) == m_fresh.at(stretch.fresh + i);
        ++i;
        if (agreeing * 2 - i > best * 2 - length) {
            best = agreeing;
            length = i;
        }
    }
    return length;
}

int cDifference::backward(const Stretch& stretch, int begin) const
{
    const int most = std::min(stretch.fresh - begin, stretch.old);
    int agreeing = 0;
    int best = 0;
    int length = 0;
    for (int i = 1; i <= most; ++i) {
        agreeing += m_old.at(stretch.old - i) == m_fresh.at(stretch.fresh - i);
        if (agreeing * 2 - i > best * 2 - length) {
            best = agreeing;
            length = i;
        }
    }
    return length;
}

// How much of what both stretches reach the first one keeps: up to where it has agreed in more by the most.
int cDifference::split(const Stretch& first, int firstLength, const Stretch& second, int secondLength) const
{
    const int begin = second.fresh - secondLength;
    const int end = first.fresh + firstLength;
    int more = 0;
    int best = 0;
    int kept = 0;
    for (int place = begin; place < end; ++place) {
        more += int(agrees(first, place)) - int(agrees(second, place));
        if (more > best) {
            best = more;
            kept = place + 1 - begin;
        }
    }
    return kept;
}

void cDifference::write(const Stretch& stretch, int length, int end, const Stretch& following)
{
    for (int i = 0; i < length; ++i)
        m_differences.append(char(uchar(m_fresh.at(stretch.fresh + i)) - uchar(m_old.at(stretch.old + i))));
    const int copied = stretch.fresh + length;
    m_extra.append(m_fresh.constData() + copied, end - copied);
    append({length, end - copied, qint64(following.old) - (stretch.old + length)});
}

// A stretch that its neighbours have taken all of makes nothing, and only moves. A patch has no two such in a row.
void cDifference::append(const Instruction& instruction)
{
    if (instruction.add == 0 && instruction.copy == 0 && !m_instructions.empty())
        m_instructions.back().skip += instruction.skip;
    else
        m_instructions.push_back(instruction);
}
