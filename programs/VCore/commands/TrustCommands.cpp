// The commands that pin a root of trust, show what is trusted, and end that.
#include "Diagnostics.h"
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

/// More is no root, whatever it is.
constexpr qint64 LongestRoot = 16 * 1024 * 1024;

QJsonObject toJson(const cTrustState& state)
{
    QJsonArray roles;
    for (const cTrustState::cRole& role : state.roles) {
        roles.append(QJsonObject{{QStringLiteral("name"), role.name},
                                 {QStringLiteral("version"), role.version},
                                 {QStringLiteral("expires"), role.expires.toString(Qt::ISODate)},
                                 {QStringLiteral("threshold"), role.threshold},
                                 {QStringLiteral("keys"), QJsonArray::fromStringList(role.keyIds)}});
    }
    return {{QStringLiteral("pinned"), state.isPinned},
            {QStringLiteral("reason"), state.reason},
            {QStringLiteral("roles"), roles}};
}

QString untilOf(const cTrustState::cRole& role)
{
    if (!role.expires.isValid())
        return QString();
    const QString until = role.expires.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm")) + QStringLiteral(" UTC");
    return role.expires < QDateTime::currentDateTimeUtc() ? until + QStringLiteral(", expired") : until;
}

void show(const cTrustState& state)
{
    if (!state.isPinned)
        return Terminal::answer(UpdateReport::nothingPinned());
    if (!state.reason.isEmpty())
        Terminal::warning(QStringLiteral("a root is pinned, but nothing can be verified: %1").arg(state.reason));
    cTextTable table({QStringLiteral("role"), QStringLiteral("version"), QStringLiteral("until"),
                      QStringLiteral("signed by"), QStringLiteral("keys")});
    for (const cTrustState::cRole& role : state.roles) {
        const QString signers = QStringLiteral("%1 of %2")
                                    .arg(QString::number(role.threshold), Terminal::counted(role.keyIds.size(), "key"));
        table.addRow({role.name, role.version > 0 ? QString::number(role.version) : QString(), untilOf(role), signers,
                      role.keyIds.value(0)});
        for (const QString& id : role.keyIds.mid(1))
            table.addRow({QStringLiteral(" "), QStringLiteral(" "), QStringLiteral(" "), QStringLiteral(" "), id});
    }
    Terminal::answer(table.lines());
}

/// What both commands have in common: the log's reasons, and --json.
class cTrustingCommand : public cCommand
{
protected:
    void addOptions(cSyntax& syntax)
    {
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    /// Nothing is fetched or installed while what is trusted changes.
    ExitCode begin() { return beginChange(m_log, m_lock, &cChangeLock::takeForFetching); }

    ExitCode answer(const QString& done) const
    {
        const cTrustState state = IConfigMgr::trustState();
        if (m_isJson) {
            answerJson(toJson(state));
        } else {
            if (!done.isEmpty())
                Terminal::answer(done);
            show(state);
        }
        return state.reason.isEmpty() ? ExitCode::Ok : ExitCode::RootRefused;
    }

private:
    cLogOption m_log;
    cChangeLock m_lock;
    bool m_isJson = false;
};

/// Pins a root of trust, or shows what is trusted.
class cTrustCommand : public cTrustingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--trust",
                    "Show what is trusted, until when, and by which keys. With a FILE, root metadata of The Update "
                    "Framework, pin that root, for all of this machine: from then on only what the holders of its keys "
                    "have published is fetched and installed.");
        addOptions(syntax);
        syntax.add("[FILE]", &m_words, "");
        syntax.mostWords = 1;
    }

    ExitCode run() override
    {
        const ExitCode code = begin();
        if (code != ExitCode::Ok || m_words.isEmpty())
            return code == ExitCode::Ok ? answer(QString()) : code;
        QFile file(m_words.first());
        if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
            return endWith(ExitCode::RootRefused,
                           QStringLiteral("%1 cannot be read: %2")
                               .arg(file.fileName(),
                                    QFileInfo(file).isFile() ? file.errorString() : QStringLiteral("it is no file")));
        }
        const bool wasPinned = IConfigMgr::trustState().isPinned;
        QString error;
        if (!IConfigMgr::pinTrust(file.read(LongestRoot), &error))
            return ExitCode::RootRefused; // the log has told why
        return answer(wasPinned ? QStringLiteral("The root of trust is another one from now on.")
                                : QStringLiteral("A root of trust is pinned."));
    }

private:
    QStringList m_words;
};

/// Pins no root any more.
class cUntrustCommand : public cTrustingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--untrust", "Pin no root of trust any more: updates are taken as the update sites offer them.");
        addOptions(syntax);
    }

    ExitCode run() override
    {
        const ExitCode code = begin();
        if (code != ExitCode::Ok)
            return code;
        return IConfigMgr::unpinTrust(nullptr) ? answer(QString()) : ExitCode::SettingsFailed; // the log has told why
    }
};

} // namespace

void addTrustCommands(cProgram& program)
{
    program.add(std::make_unique<cTrustCommand>());
    program.add(std::make_unique<cUntrustCommand>());
}
