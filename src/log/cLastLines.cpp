#include "log/cLastLines.h"

#include "log/LineText.h"

#include <algorithm>

namespace {
cLastLines s_lines; // constant from the start, and never destroyed: a crash may come at any time
}

cLastLines& cLastLines::instance()
{
    return s_lines;
}

void cLastLines::add(const char* text, int length)
{
    const quint32 number = m_last.load(std::memory_order_relaxed) + 1;
    Line& line = m_lines[number % Count];
    line.number.exchange(0, std::memory_order_acq_rel); // before anything of the line changes
    line.length = LineText::pieceLength(text, length, LongestLine);
    std::copy_n(text, line.length, line.text);
    line.number.store(number, std::memory_order_release);
    m_last.store(number, std::memory_order_release);
}

void cLastLines::forEach(Take take) const
{
    const quint32 last = m_last.load(std::memory_order_acquire);
    for (quint32 number = last - std::min<quint32>(last, Count) + 1; number <= last; ++number) {
        const Line& line = m_lines[number % Count];
        if (line.number.load(std::memory_order_acquire) != number)
            continue;
        char text[LongestLine];
        const int length = std::clamp(line.length, 0, LongestLine);
        std::copy_n(line.text, length, text);
        // Adding nothing reads the number when all of the line has been read.
        if (line.number.fetch_add(0, std::memory_order_acq_rel) == number)
            take(text, length);
    }
}
