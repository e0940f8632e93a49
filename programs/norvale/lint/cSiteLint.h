#pragma once

#include "lint/cXmlLint.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QStringList>

/// Holds a site description against the rules of its format.
class cSiteLint : public cXmlLint
{
public:
    /// An entry as it stands there, with its place.
    struct Entry
    {
        QString update;
        QString content;
        int line = 0;
        int column = 0;
    };

    using cXmlLint::cXmlLint;

    /// @return false when the document cannot be read.
    bool check(const QByteArray& xml);

    /// Valid after check().
    const QList<Entry>& entries() const { return m_entries; }

private:
    void checkEntry(const cXmlElement& entry);

    QList<Entry> m_entries;
    QSet<QStringList> m_seen;
};
