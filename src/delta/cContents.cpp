#include "delta/cContents.h"

#include "delta/cOldFiles.h"
#include "delta/cPatchReader.h"

#include <utility>

bool cContents::read(char* to, qint64 count)
{
    while (count > 0) {
        if (m_isCancelled)
            return false;
        if (m_toAdd == 0 && m_toCopy == 0 && !readInstruction())
            return false;
        const qint64 added = qMin(count, m_toAdd);
        const qint64 copied = qMin(count - added, m_toCopy);
        if (!add(to, added) || !copy(to + added, copied))
            return false;
        to += added + copied;
        count -= added + copied;
    }
    return true;
}

/// Goes to the place that the last one left, and reads how many bytes the next one makes.
bool cContents::readInstruction()
{
    if (m_skip < -m_place || m_skip > m_old.size() - m_place)
        return damaged("an instruction skips out of the old files");
    m_place += m_skip;
    const bool wasEmpty = std::exchange(m_isEmpty, false);
    if (!m_patch.readNumber("the number of bytes to add", m_left, m_toAdd) ||
        !m_patch.readNumber("the number of bytes to copy", m_left - m_toAdd, m_toCopy) ||
        !m_patch.readSignedNumber(m_skip))
        return fail(m_patch.errorString());
    m_isEmpty = m_toAdd == 0 && m_toCopy == 0;
    if (m_isEmpty && wasEmpty) // a small stream could hold very many
        return damaged("two instructions in a row make nothing");
    return m_toAdd <= m_old.size() - m_place || damaged("an instruction adds bytes from behind the old files");
}

bool cContents::add(char* to, qint64 count)
{
    if (!m_patch.read(cPatchReader::Difference, to, count))
        return fail(m_patch.errorString());
    if (!m_old.addTo(to, m_place, count))
        return fail(m_old.errorString());
    m_place += count;
    m_toAdd -= count;
    m_left -= count;
    return true;
}

bool cContents::copy(char* to, qint64 count)
{
    m_toCopy -= count;
    m_left -= count;
    return m_patch.read(cPatchReader::Extra, to, count) || fail(m_patch.errorString());
}

bool cContents::damaged(const char* how)
{
    m_patch.damaged(QLatin1String(how));
    return fail(m_patch.errorString());
}

bool cContents::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
