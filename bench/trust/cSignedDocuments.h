#pragma once

#include "trust/Cryptography.h"
#include "trust/ITrustSource.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>

/// Signed metadata of a site, held in memory: one key, as many packages as asked for, each named PluginN-1.00.000.zip.
class cSignedDocuments : public ITrustSource
{
public:
    explicit cSignedDocuments(int packages);

    /// A package more, of these @p bytes.
    void addPackage(const QString& fileName, const QByteArray& bytes);
    /// Makes the documents.
    void sign();

    QByteArray document(const QString& name) const { return m_documents.value(name); }
    Answer fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason) override;

private:
    void add(const QString& name, const QString& type, QJsonObject content);

    Cryptography::KeyPair m_pair;
    QJsonObject m_targets;
    QMap<QString, QByteArray> m_documents;
};
