#include "signing/cSigningKey.h"

#include "trust/KeyText.h"

#include <QtCore/QProcess>

std::optional<cSigningKey> cSigningKey::make()
{
    const Cryptography::KeyPair pair = Cryptography::makeEd25519();
    return pair.seed.isEmpty() ? std::nullopt : std::make_optional(cSigningKey(pair));
}

std::optional<cSigningKey> cSigningKey::ofPem(const QByteArray& pem, QString* error)
{
    const std::optional<Cryptography::KeyPair> pair = KeyText::readPrivateKey(pem, error);
    return pair ? std::make_optional(cSigningKey(*pair)) : std::nullopt;
}

std::optional<cSigningKey> cSigningKey::ofCommand(const QString& command, const QByteArray& publicPem, QString* error)
{
    const std::optional<cTrustKey> read = cTrustKey::ofPem(publicPem, error);
    if (!read)
        return std::nullopt;
    cSigningKey key;
    key.m_key = *read;
    key.m_command = command;
    key.m_publicPem = publicPem;
    return key;
}

QByteArray cSigningKey::sign(const QByteArray& message, QString* error) const
{
    if (!m_command.isEmpty())
        return askCommand(message, error);
    const QByteArray signature = Cryptography::signEd25519(m_pair.seed, message);
    if (signature.isEmpty() || !m_key.verify(message, signature)) {
        *error = QStringLiteral("the key %1 does not sign").arg(m_key.id());
        return QByteArray();
    }
    return signature;
}

QByteArray cSigningKey::askCommand(const QByteArray& message, QString* error) const
{
    constexpr int Patience = 5 * 60 * 1000; // somebody may have to touch a token
    QStringList words = QProcess::splitCommand(m_command);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(words.takeFirst(), words);
    process.write(message);
    process.closeWriteChannel();
    if (!process.waitForFinished(Patience) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        const bool hasEnded = process.state() == QProcess::NotRunning && process.error() != QProcess::FailedToStart &&
                              process.exitStatus() == QProcess::NormalExit;
        *error = QStringLiteral("the command \"%1\" has not signed: %2")
                     .arg(m_command, hasEnded ? QStringLiteral("it ended with the code %1").arg(process.exitCode())
                                              : process.errorString());
        process.kill();
        process.waitForFinished();
        return QByteArray();
    }
    const QByteArray output = process.readAllStandardOutput();
    for (const QByteArray& signature : {output, QByteArray::fromHex(output.trimmed())}) {
        if (m_key.verify(message, signature))
            return signature;
    }
    *error = QStringLiteral("what the command \"%1\" prints is no signature of the key %2").arg(m_command, m_key.id());
    return QByteArray();
}

QByteArray cSigningKey::pem() const
{
    return m_pair.seed.isEmpty() ? QByteArray() : KeyText::writePrivateKey(m_pair);
}
