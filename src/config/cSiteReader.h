#pragma once

#include "config/cSiteEntry.h"

#include <QtCore/QList>

class QByteArray;

/**
 * Reads the description of an update site (`site.xml`).
 */
class cSiteReader
{
public:
    /// Replaces the entries. False, and no entries, when the bytes are not well-formed or nested too deeply;
    /// errorString() then says where and why. The root's tag is not checked, other children are skipped.
    [[nodiscard]] bool read(const QByteArray& xml);

    /// In document order.
    const QList<cSiteEntry>& entries() const { return m_entries; }

    /// "line L, column C: message" of the last failure.
    QString errorString() const { return m_errorString; }

private:
    QList<cSiteEntry> m_entries;
    QString m_errorString;
};
