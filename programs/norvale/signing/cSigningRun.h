#pragma once

#include "common/ExitCode.h"
#include "common/cStyledLine.h"
#include "signing/cKeyFolder.h"
#include "signing/cSiteSigner.h"
#include "site/cSiteFiles.h"

struct cSyntax;

/// What the commands that sign have in common: the folder of keys, the site that is theirs while they run, the report.
class cSigningRun
{
public:
    /// Adds the option --keys.
    static void addKeysOption(cSyntax& syntax, QString* keys);
    /// The folder of keys: @p given, else the one that the environment names; empty when there is none.
    static QString keyFolder(const QString& given);

    /// @p site is the site's folder, or that of a copy of its metadata.
    explicit cSigningRun(const QString& site) : m_site(site), m_signer(site, m_keys, m_files) {}

    /// Locks the site, and reads the keys of the folder @p keys, which may be empty. @p mustHave is that there is one.
    [[nodiscard]] bool begin(const QString& keys, bool mustHave);

    cKeyFolder& keys() { return m_keys; }
    cSiteFiles& files() { return m_files; }
    cSiteSigner& signer() { return m_signer; }

    /// Signs, keeps what has been written, and tells it in @p report.
    ExitCode sign(const cReport& report);

    /// Keeps what has been written, and tells it with @p lines and the members of @p object.
    ExitCode end(const cReport& report, const QStringList& lines, QJsonObject object);

    /// Ends it with a reason; what has been written is taken back.
    ExitCode fail(const cReport& report, ExitCode code, const QString& reason) const;
    /// After begin() was false.
    ExitCode fail(const cReport& report) const { return fail(report, m_code, m_errorString); }

private:
    const QString m_site;
    cKeyFolder m_keys;
    cSiteFiles m_files;
    cSiteSigner m_signer;
    ExitCode m_code = ExitCode::Ok;
    QString m_errorString;
};
