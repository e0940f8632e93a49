#include "Commands.h"
#include "common/cProgram.h"
#include "signing/SigningChanges.h"
#include "signing/cKeyListing.h"
#include "signing/cRootEdit.h"
#include "signing/cSigningRun.h"

#include <QtCore/QFileInfo>

namespace {

/// What the commands share that make keys.
void addRoleOptions(cSyntax& syntax, cRolesWanted& wanted)
{
    syntax.add("--threshold", &wanted.thresholds, "M of N keys of a role must sign, such as root=2:3; may repeat",
               "ROLE=M:N");
    syntax.add("--expires", &wanted.days,
               "How long what a role signs is valid; may repeat. Default: root 365 days, targets and snapshot 90, "
               "timestamp 7",
               "ROLE=DAYS");
    syntax.add("--key", &wanted.keys,
               "A key that is there: a PEM file, which is copied into the folder of keys unless it is a public one, or "
               "command:COMMAND, which signs what stands on its standard input; may repeat",
               "ROLE=FILE");
    syntax.add("--public", &wanted.publicKeys, "The public key of a command, as PEM; may repeat", "ROLE=FILE");
}

/// Makes a site's keys and its first root.
class cKeysInitCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site keys init", "Make the keys of a site, and its first root of trust");
        syntax.add("SITE", &m_site, "The site's folder; it is made when it is not there");
        cSigningRun::addKeysOption(syntax, &m_keys);
        addRoleOptions(syntax, m_wanted);
        m_report.addJsonOption(syntax);
        syntax.footer =
            "The roles are root, targets, snapshot and timestamp. Keys that lie in the folder by the names\n"
            "ROLE-NUMBER.pem are taken; the missing ones are made. What installations pin is\n"
            "SITE/tuf/1.root.json.";
    }

    ExitCode run() override
    {
        cSigningRun run(m_site);
        if (!run.begin(m_keys, true))
            return run.fail(m_report);
        if (cSiteMetadata::isThere(m_site)) {
            return run.fail(m_report, ExitCode::Faults,
                            QStringLiteral("%1 has its keys: norvale site keys rotate replaces one").arg(m_site));
        }
        cRootEdit edit(run.keys());
        std::optional<cDraft> root = edit.first(m_wanted);
        if (!root)
            return run.fail(m_report, edit.isUsageError() ? ExitCode::Usage : ExitCode::Faults, edit.errorString());
        QString error;
        const cTrustRole role = root->metadata().roles().value(QStringLiteral("root"));
        if (!root->sign(run.keys(), role.keyIds, &error))
            return run.fail(m_report, ExitCode::Faults, error);
        if (!root->isSignedFor(root->metadata(), &error)) {
            return run.fail(m_report, ExitCode::Faults,
                            QStringLiteral("the root is %1: make it where its keys are").arg(error));
        }
        const QString path =
            cSiteMetadata::folderOf(m_site) + QLatin1Char('/') + cSiteMetadata::nameOf(cTrustMetadata::Root, 1);
        if (!run.files().write(QFileInfo(path).absoluteFilePath(), root->bytes()))
            return run.fail(m_report, ExitCode::WriteFailed, run.files().errorString());
        return run.end(m_report, SigningChanges::between(nullptr, root->metadata()), {{"root", path}});
    }

private:
    cReport m_report;
    QString m_site;
    QString m_keys;
    cRolesWanted m_wanted;
};

/// Replaces keys.
class cKeysRotateCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site keys rotate", "Replace keys of a role, by a new root that the old and the new keys sign");
        syntax.add("SITE", &m_site, "The site's folder, or that of a copy of its metadata");
        syntax.add("--role", &m_role, "Whose keys are replaced", "root|targets|snapshot|timestamp");
        syntax.add("--old", &m_old, "The key that goes, by the begin of its id; may repeat. Default: all of the role",
                   "ID");
        cSigningRun::addKeysOption(syntax, &m_keys);
        addRoleOptions(syntax, m_wanted);
        m_report.addJsonOption(syntax);
        syntax.footer = "What the role has signed is signed anew, where its keys are at hand. A root that lacks\n"
                        "signatures waits in SITE/tuf/staged for norvale site sign.";
    }

    ExitCode run() override
    {
        cSigningRun run(m_site);
        if (m_role.isEmpty())
            return run.fail(m_report, ExitCode::Usage, QStringLiteral("--role says whose keys are replaced"));
        if (!run.begin(m_keys, true))
            return run.fail(m_report);
        cSiteMetadata metadata;
        if (!metadata.read(m_site))
            return run.fail(m_report, ExitCode::Faults, metadata.errorString());
        cRootEdit edit(run.keys());
        const std::optional<cDraft> root = edit.rotated(metadata.root().metadata(), m_role, m_old, m_wanted);
        if (!root)
            return run.fail(m_report, edit.isUsageError() ? ExitCode::Usage : ExitCode::Faults, edit.errorString());
        run.signer().setRoot(*root);
        return run.sign(m_report);
    }

private:
    cReport m_report;
    QString m_site;
    QString m_keys;
    QString m_role;
    QStringList m_old;
    cRolesWanted m_wanted;
};

/// Shows who signs.
class cKeysShowCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site keys show", "Show who signs a site, how many of them, and until when that is valid");
        syntax.add("SITE", &m_site, "The site's folder, or that of a copy of its metadata");
        cSigningRun::addKeysOption(syntax, &m_keys);
        m_report.addJsonOption(syntax);
        syntax.footer = "Keys that lie in the folder of keys are marked as here.";
    }

    ExitCode run() override
    {
        cSiteMetadata metadata;
        cKeyFolder keys;
        const QString folder = cSigningRun::keyFolder(m_keys);
        if (!folder.isEmpty() && !keys.open(folder, m_site))
            return m_report.fail(ExitCode::ReadFailed, keys.errorString());
        if (!metadata.read(m_site))
            return m_report.fail(ExitCode::ReadFailed, metadata.errorString());
        const cKeyListing listing(metadata, keys);
        return m_report.end(ExitCode::Ok, cFindings(), QString(), listing.lines(), listing.json());
    }

private:
    cReport m_report;
    QString m_site;
    QString m_keys;
};

/// Signs what is published.
class cSiteSignCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site sign", "Sign what a site offers, and what is near its end");
        syntax.add("SITE", &m_site,
                   "The site's folder, or that of a copy of its metadata, where only what waits is signed");
        cSigningRun::addKeysOption(syntax, &m_keys);
        syntax.add("--role", &m_role, "Sign only for this role", "root|targets|snapshot|timestamp");
        m_report.addJsonOption(syntax);
        syntax.footer =
            "What lacks signatures waits in SITE/tuf/staged: carry SITE/tuf to the other keys, sign there,\n"
            "carry it back, and sign the site again.";
    }

    ExitCode run() override
    {
        cSigningRun run(m_site);
        if (!run.begin(m_keys, false))
            return run.fail(m_report);
        for (const cTrustMetadata::Type type : cSiteMetadata::roles()) {
            if (cTrustMetadata::nameOf(type) == m_role)
                run.signer().setOnly(type);
        }
        return run.sign(m_report);
    }

private:
    cReport m_report;
    QString m_site;
    QString m_keys;
    QString m_role;
};

/// Renews the timestamp.
class cSiteRefreshCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("site refresh", "Renew the timestamp of a signed site; for a timer");
        syntax.add("SITE", &m_site, "The site's folder");
        cSigningRun::addKeysOption(syntax, &m_keys);
        m_report.addJsonOption(syntax);
        syntax.footer = "It takes the key of the timestamp alone, and says what else is near its end.";
    }

    ExitCode run() override
    {
        cSigningRun run(m_site);
        if (!run.begin(m_keys, true))
            return run.fail(m_report);
        run.signer().setRefreshing();
        return run.sign(m_report);
    }

private:
    cReport m_report;
    QString m_site;
    QString m_keys;
};

} // namespace

void addSigningCommands(cProgram& program)
{
    program.addGroup("site keys", "Make, replace and show the keys that sign a site");
    program.add(std::make_unique<cSiteSignCommand>());
    program.add(std::make_unique<cSiteRefreshCommand>());
    program.add(std::make_unique<cKeysInitCommand>());
    program.add(std::make_unique<cKeysRotateCommand>());
    program.add(std::make_unique<cKeysShowCommand>());
}
