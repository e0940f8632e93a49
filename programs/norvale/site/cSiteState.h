#pragma once

#include "config/cFeatureCatalogue.h"
#include "config/cRuntimeEntry.h"
#include "config/cSiteEntry.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

struct cSiteAddition;

/// A site's folder as it stands: its description, and the one repository that is to be changed.
class cSiteState
{
public:
    /// Reads site.xml, picks the repository that @p wanted means, and reads its repository.xml. What is not there yet
    /// is empty. @return false when something cannot be read, or there is no telling which repository is meant.
    [[nodiscard]] bool read(const cSiteAddition& wanted);

    QString errorString() const { return m_errorString; }

    /// The entry that leads to the repository; of a new one too.
    const cSiteEntry& entry() const { return m_entry; }
    bool hasEntry() const { return m_hasEntry; }

    const cFeatureCatalogue& catalogue() const { return m_catalogue; }
    const QList<cRuntimeEntry>& runtimes() const { return m_runtimes; }

    /// The repository's description as it stands; empty when there is none.
    QByteArray repositoryXml() const { return m_repositoryXml; }

    QString sitePath() const;
    QString repositoryFolder() const;
    QString repositoryPath() const;

    /// The site's description with the entry.
    QByteArray siteXml() const;

private:
    bool readSite();
    bool pickRepository(const cSiteAddition& wanted);
    bool pickContent(const cSiteAddition& wanted);
    bool readRepository();
    bool fail(const QString& reason);

    QString m_folder;
    QList<cSiteEntry> m_entries;
    cSiteEntry m_entry;
    bool m_hasEntry = false;
    cFeatureCatalogue m_catalogue;
    QList<cRuntimeEntry> m_runtimes;
    QByteArray m_repositoryXml;
    QString m_errorString;
};
