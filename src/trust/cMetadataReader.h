#pragma once

#include "trust/cTrustTarget.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

/**
 * Reads members of metadata, each with its bounds. The first fault stays, with its place; what is read after that is
 * empty, so that readers need to look only once, at their end.
 */
class cMetadataReader
{
public:
    static constexpr int MaxText = 8192; // of any text; paths and PEM texts are the longest
    static constexpr int MaxKeys = 1024; // of a document, a role, or signatures
    static constexpr int MaxRoles = 65536;
    static constexpr int MaxFiles = 1000000;

    /// While it lives, faults are below the member @p name.
    class cPlace
    {
    public:
        cPlace(cMetadataReader& reader, const QString& name) : m_reader(reader) { reader.m_places.append(name); }
        ~cPlace() { m_reader.m_places.removeLast(); }
        cPlace(const cPlace&) = delete;
        cPlace& operator=(const cPlace&) = delete;

    private:
        cMetadataReader& m_reader;
    };

    /// Whether there is such a member; null is as good as none.
    static bool has(const QJsonObject& object, const char* name)
    {
        const QJsonValue value = object.value(QLatin1String(name));
        return !value.isUndefined() && !value.isNull();
    }

    QString text(const QJsonObject& object, const char* name);
    /// A whole number from @p least to @p most.
    qint64 number(const QJsonObject& object, const char* name, qint64 least, qint64 most);
    bool flag(const QJsonObject& object, const char* name);
    /// An object with at most @p most members.
    QJsonObject object(const QJsonObject& object, const char* name, int most);
    /// An array with at most @p most elements.
    QJsonArray array(const QJsonObject& object, const char* name, int most);
    /// An array of texts.
    QStringList texts(const QJsonObject& object, const char* name, int most);
    /// "hashes": at least one.
    cTrustHashes hashes(const QJsonObject& object);
    /// @p value as an object.
    QJsonObject objectOf(const QJsonValue& value);

    /// Keeps @p reason, with the place, unless there is a fault already.
    void fail(const QString& reason);
    bool hasFailed() const { return !m_fault.isEmpty(); }
    /// Empty when all was well.
    const QString& fault() const { return m_fault; }

private:
    QJsonValue member(const QJsonObject& object, const char* name, QJsonValue::Type type, const char* what);

    QStringList m_places;
    QString m_fault;
};
