#include "cSignedDocuments.h"

#include "trust/CanonicalJson.h"
#include "trust/cTrustKey.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

cSignedDocuments::cSignedDocuments(int packages) : m_pair(Cryptography::makeEd25519())
{
    for (int i = 0; i < packages; ++i)
        addPackage(QStringLiteral("Plugin%1-1.00.000.zip").arg(i), QByteArray::number(i));
}

void cSignedDocuments::addPackage(const QString& fileName, const QByteArray& bytes)
{
    using Cryptography::cDigest;
    cDigest sha512(cDigest::Sha512);
    sha512.add(bytes);
    const QJsonObject hashes{{"sha256", QString::fromLatin1(Cryptography::sha256(bytes).toHex())},
                             {"sha512", QString::fromLatin1(sha512.result().toHex())}};
    m_targets["main/packages/" + fileName] = QJsonObject{{"length", qint64(bytes.size())}, {"hashes", hashes}};
}

void cSignedDocuments::sign()
{
    const cTrustKey key = cTrustKey::ofEd25519(m_pair.point);
    const QJsonObject role{{"keyids", QJsonArray{key.id()}}, {"threshold", 1}};
    add("1.root.json", "root",
        {{"consistent_snapshot", true},
         {"keys", QJsonObject{{key.id(), key.object()}}},
         {"roles", QJsonObject{{"root", role}, {"timestamp", role}, {"snapshot", role}, {"targets", role}}}});
    const QJsonObject first{{"version", 1}};
    add("timestamp.json", "timestamp", {{"meta", QJsonObject{{"snapshot.json", first}}}});
    add("1.snapshot.json", "snapshot", {{"meta", QJsonObject{{"targets.json", first}}}});
    add("1.targets.json", "targets", {{"targets", m_targets}});
}

void cSignedDocuments::add(const QString& name, const QString& type, QJsonObject content)
{
    content["_type"] = type;
    content["spec_version"] = "1.0.34";
    content["version"] = 1;
    content["expires"] = "2100-01-01T00:00:00Z";
    const QByteArray signature = Cryptography::signEd25519(m_pair.seed, *CanonicalJson::write(content));
    const QJsonObject by{{"keyid", cTrustKey::ofEd25519(m_pair.point).id()},
                         {"sig", QString::fromLatin1(signature.toHex())}};
    m_documents[name] = QJsonDocument(QJsonObject{{"signed", content}, {"signatures", QJsonArray{by}}}).toJson();
}

ITrustSource::Answer cSignedDocuments::fetch(const QString& name, qint64, QByteArray& bytes, QString&)
{
    bytes = document(name);
    return bytes.isEmpty() ? NotThere : Arrived;
}
