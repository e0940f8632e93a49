#pragma once

#include "common/ExitCode.h"
#include "report/cFindings.h"
#include "signing/cKeyFolder.h"
#include "signing/cSiteMetadata.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <optional>

class cSiteFiles;

/**
 * Signs what a site offers. Clients meet the old state or the new one: what is named by its version or its hash goes
 * first, where nothing points to yet, and the timestamp last.
 *
 * What lacks signatures waits in "tuf/staged", and what is published goes on. In a copy of the metadata without a site
 * everything stays there, to be carried back.
 */
class cSiteSigner
{
public:
    using Type = cTrustMetadata::Type;

    /// What is written goes through @p files, which has begun. All live as long as this object.
    cSiteSigner(const QString& site, const cKeyFolder& keys, cSiteFiles& files);

    /// Signs nothing but documents of @p type.
    void setOnly(Type type) { m_only = type; }
    /// Renews the timestamp alone.
    void setRefreshing() { m_isRefreshing = true; }
    /// The next root, to be signed and published with what follows from it.
    void setRoot(const cDraft& root) { m_nextRoot = root; }

    /// Does it. @return NotSigned when something waits for signatures. After a failure the files are to be taken back.
    ExitCode run();

    /// Removes what the new state has made superfluous, once the files are kept.
    void tidy();

    const QString& errorString() const { return m_errorString; }
    /// What waits for signatures and what is near its end, as warnings.
    const cFindings& findings() const { return m_findings; }
    /// What the new documents change, for whoever puts his name to it.
    const QStringList& changes() const { return m_changes; }
    /// The documents, each with "role", "version", "expires", "state" and "signatures".
    const QJsonArray& json() const { return m_json; }

private:
    /// A document that the new state is made of.
    struct Chosen
    {
        cDraft draft;
        QByteArray bytes;
        bool isNew;
    };

    bool signCopy();
    bool signSite();
    bool settleRoot();
    std::optional<cDraft> rootToSign() const;
    bool settleOthers();
    bool settle(Type type, const QJsonObject& content);
    bool choosePublished(Type type);
    cDraft draftFor(Type type, const QJsonObject& content) const;
    QJsonObject targetsContent();
    QJsonObject metaContent(Type of) const;
    bool addSignatures(cDraft& draft);
    bool wait(const cDraft& draft, const QString& told);
    bool publish();
    bool publishNew(Type type);
    bool isTakenByClients(QString* reason) const;
    bool isOldRootContent() const;
    void tell(const cDraft& draft, const char* state);
    void noteChanges(const cDraft& draft);
    void noteExpiry(const cDraft& draft);
    bool isDue(const cDraft& draft) const;
    const cTrustMetadata& newestRoot() const;
    void removeOldCopies() const;
    bool fail(const QString& reason, ExitCode code = ExitCode::Faults);

    const QString m_site;
    const cKeyFolder& m_keys;
    cSiteFiles& m_files;
    std::optional<Type> m_only;
    bool m_isRefreshing = false;
    std::optional<cDraft> m_nextRoot;

    cSiteMetadata m_metadata;
    bool m_isCopy = false; // there is no site.xml
    QMap<QString, QByteArray> m_copies;
    QMap<Type, Chosen> m_chosen;
    QList<Type> m_waiting;
    cFindings m_findings;
    QStringList m_changes;
    QJsonArray m_json;
    ExitCode m_code = ExitCode::Ok;
    QString m_errorString;
};
