#pragma once

#include "trust/CanonicalJson.h"
#include "trust/Cryptography.h"
#include "trust/cTrustKey.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

/// Signed metadata of a site, all roles by one key.
class cSignedSite
{
public:
    /// Writes the folder "tuf" of @p site, with @p targets by their paths below it. @return the root; empty when that
    /// failed.
    static QByteArray write(const QString& site, const QMap<QString, QByteArray>& targets)
    {
        const Cryptography::KeyPair pair = Cryptography::makeEd25519();
        const cTrustKey key = cTrustKey::ofEd25519(pair.point);
        const QDir folder(site + QStringLiteral("/tuf"));
        const auto put = [&](const char* name, QJsonObject document) {
            document["spec_version"] = "1.0.34";
            document["version"] = 1;
            document["expires"] = QDateTime::currentDateTimeUtc().addDays(30).toString("yyyy-MM-ddTHH:mm:ssZ");
            const QByteArray signedBytes = CanonicalJson::write(document).value_or(QByteArray());
            const QByteArray signature = Cryptography::signEd25519(pair.seed, signedBytes).toHex();
            const QByteArray text = "{\"signatures\":[{\"keyid\":\"" + key.id().toLatin1() + "\",\"sig\":\"" +
                                    signature + "\"}],\"signed\":" + signedBytes + "}";
            QFile file(folder.filePath(name));
            folder.mkpath(".");
            return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? text : QByteArray();
        };
        QJsonObject listed;
        for (auto it = targets.begin(); it != targets.end(); ++it)
            listed[it.key()] = described(it.value());
        const QByteArray targetsText = put("1.targets.json", {{"_type", "targets"}, {"targets", listed}});
        const QByteArray snapshot =
            put("1.snapshot.json", {{"_type", "snapshot"}, {"meta", met("targets", targetsText)}});
        put("timestamp.json", {{"_type", "timestamp"}, {"meta", met("snapshot", snapshot)}});
        QJsonObject roles;
        for (const char* role : {"root", "timestamp", "snapshot", "targets"})
            roles[role] = QJsonObject{{"keyids", QJsonArray{key.id()}}, {"threshold", 1}};
        return put("1.root.json", {{"_type", "root"},
                                   {"consistent_snapshot", true},
                                   {"keys", QJsonObject{{key.id(), key.object()}}},
                                   {"roles", roles}});
    }

private:
    static QJsonObject described(const QByteArray& bytes)
    {
        const QString hash = QString::fromLatin1(Cryptography::sha256(bytes).toHex());
        return {{"length", bytes.size()}, {"hashes", QJsonObject{{"sha256", hash}}}};
    }
    static QJsonObject met(const QString& role, const QByteArray& document)
    {
        QJsonObject meta = described(document);
        meta["version"] = 1;
        return {{role + ".json", meta}};
    }
};
