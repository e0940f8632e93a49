#pragma once

#include "trust/cTrustMetadata.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <optional>

class cKeyFolder;

/// How long what is signed is valid, and when it is to be renewed. All times are UTC.
namespace Expiry {

/// A member of a role in the root, which clients pass over: who signs the next document finds it on every machine.
constexpr char DaysMember[] = "x-expiry-days";

/// The days of a role, as its root says; the default where that says nothing.
int daysOf(const cTrustMetadata& root, cTrustMetadata::Type type);
int defaultDays(cTrustMetadata::Type type);

/// The time from which on @p document is to be renewed: two weeks before its end, or when a third of its life is left.
QDateTime renewalOf(const cTrustMetadata& document, int days);

/// "2026-11-01T12:00:00Z", @p days from now.
QString textIn(int days);

} // namespace Expiry

/**
 * A document of metadata while it is signed: what it says, and the signatures that it has so far. A value.
 */
class cDraft
{
public:
    using Type = cTrustMetadata::Type;

    /// A document of @p version with the members @p content, without a signature, which expires in @p days.
    cDraft(Type type, qint64 version, QJsonObject content, int days);

    /// One that has been begun, or is published. @return nothing when it cannot be read.
    [[nodiscard]] static std::optional<cDraft> read(Type type, const QByteArray& bytes, QString* error);

    const cTrustMetadata& metadata() const { return m_metadata; }
    /// What it says without what every document has (type, versions, expiry).
    QJsonObject content() const;

    /// Adds the signatures of those keys of @p folder whose ids are among @p ids and that have not signed it.
    /// @return false when one of them fails; @p error says why.
    [[nodiscard]] bool sign(const cKeyFolder& folder, const QStringList& ids, QString* error);

    /// Drops the signatures that are not those of @p keys.
    void keepSignaturesOf(const QMap<QString, cTrustKey>& keys);

    /// Whether it has the signatures that @p root asks for; with @p told, "signed by 1 of 2 keys".
    bool isSignedFor(const cTrustMetadata& root, QString* told = nullptr) const;

    /// The document as it is published.
    QByteArray bytes() const;

private:
    explicit cDraft(const cTrustMetadata& metadata) : m_metadata(metadata) {}
    bool rebuild(const QMap<QString, QByteArray>& signatures, QString* error);
    QMap<QString, QByteArray> signatures() const;

    cTrustMetadata m_metadata;
};
