#include "signing/cKeyListing.h"

#include "signing/SigningChanges.h"
#include "signing/cKeyFolder.h"
#include "version/Shown.h"

#include <QtCore/QJsonArray>

// A root is signed by its own keys, and what follows from it by those that it names.
const cTrustMetadata& cKeyListing::rootFor(const cDraft& draft) const
{
    return draft.metadata().type() == cTrustMetadata::Root ? draft.metadata() : m_metadata.root().metadata();
}

cStyledLines cKeyListing::lines() const
{
    cTextTable table({QStringLiteral("role"), QStringLiteral("version"), QStringLiteral("state"),
                      QStringLiteral("expires"), QStringLiteral("keys needed"), QStringLiteral("keys")});
    table.setStyle(2,
                   [](const QString& state) { return state == QLatin1String("valid") ? Style::Good : Style::Warning; });
    for (const cTrustMetadata::Type type : cSiteMetadata::roles()) {
        const cSiteMetadata::Document* const document = m_metadata.published(type);
        const cDraft* const staged = m_metadata.staged(type);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const int days = Expiry::daysOf(m_metadata.root().metadata(), type);
        if (document) {
            const bool isDue = Expiry::renewalOf(document->draft.metadata(), days) <= now;
            const bool isOver = document->draft.metadata().expires() <= now;
            table.addRow(row(document->draft, isOver  ? QStringLiteral("expired")
                                              : isDue ? QStringLiteral("ends soon")
                                                      : QStringLiteral("valid")));
        } else {
            const QString name = cTrustMetadata::nameOf(type);
            const cTrustRole role = m_metadata.root().metadata().roles().value(name);
            table.addRow({name, QString(), QStringLiteral("not signed"), QString(),
                          SigningChanges::textOf(role).section(QLatin1Char(':'), 0, 0)});
        }
        QString told;
        if (staged && staged->isSignedFor(m_metadata.root().metadata(), &told))
            table.addRow(row(*staged, QStringLiteral("staged, complete")));
        else if (staged)
            table.addRow(row(*staged, QStringLiteral("staged, ") + told));
    }
    return table.lines();
}

QStringList cKeyListing::row(const cDraft& draft, const QString& state) const
{
    const QString name = cTrustMetadata::nameOf(draft.metadata().type());
    const cTrustRole role = rootFor(draft).roles().value(name);
    QStringList keys;
    for (const QString& id : role.keyIds)
        keys.append(SigningChanges::shortId(id) + (m_keys.find(id) ? QStringLiteral(" (here)") : QString()));
    return {name,
            QString::number(draft.metadata().version()),
            state,
            draft.metadata().expires().toString(Qt::ISODate),
            SigningChanges::textOf(role).section(QLatin1Char(':'), 0, 0),
            keys.join(QLatin1String(", "))};
}

QJsonObject cKeyListing::json() const
{
    QJsonArray roles, staged;
    for (const cTrustMetadata::Type type : cSiteMetadata::roles()) {
        roles.append(roleJson(type));
        if (const cDraft* const draft = m_metadata.staged(type))
            staged.append(json(*draft));
    }
    return {{"roles", roles}, {"staged", staged}};
}

QJsonObject cKeyListing::roleJson(cTrustMetadata::Type type) const
{
    const QString name = cTrustMetadata::nameOf(type);
    const cTrustMetadata& root = m_metadata.root().metadata();
    const cTrustRole role = root.roles().value(name);
    QJsonArray keys;
    for (const QString& id : role.keyIds)
        keys.append(
            QJsonObject{{"id", id}, {"scheme", root.keys().value(id).scheme()}, {"here", m_keys.find(id) != nullptr}});
    const cSiteMetadata::Document* const document = m_metadata.published(type);
    QJsonObject object = document ? json(document->draft) : QJsonObject{{"role", name}};
    object["threshold"] = role.threshold;
    object["days"] = Expiry::daysOf(root, type);
    object["keys"] = keys;
    return object;
}

QJsonObject cKeyListing::json(const cDraft& draft) const
{
    const cTrustMetadata& metadata = draft.metadata();
    return {{"role", cTrustMetadata::nameOf(metadata.type())},
            {"version", metadata.version()},
            {"expires", metadata.expires().toString(Qt::ISODate)},
            {"signatures", metadata.signatures().size()}};
}
