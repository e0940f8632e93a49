#include "config/HttpAnswer.h"

#include <QtNetwork/QNetworkReply>

int HttpAnswer::statusOf(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool HttpAnswer::hasFile(const QNetworkReply& reply)
{
    return statusOf(reply) >= 200 && statusOf(reply) < 300;
}

QString HttpAnswer::reasonOf(const QNetworkReply& reply)
{
    const int status = statusOf(reply);
    if (status < 400)
        return reply.errorString();
    const QString phrase = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().simplified();
    return QStringLiteral("the server answers %1 %2").arg(QString::number(status), phrase.left(100));
}

QByteArray HttpAnswer::validatorOf(const QNetworkReply& reply)
{
    const QByteArray tag = reply.rawHeader("ETag");
    return tag.startsWith('"') ? tag : reply.rawHeader("Last-Modified"); // "W/" is of a weak one
}

QString HttpAnswer::faultOfRest(const QNetworkReply& reply, qint64 offset, const QByteArray& validator)
{
    if (!reply.rawHeader("Content-Range").startsWith("bytes " + QByteArray::number(offset) + '-'))
        return QStringLiteral("the server sends another part than it was asked for");
    const QByteArray now = validatorOf(reply);
    return !validator.isEmpty() && !now.isEmpty() && now != validator
               ? QStringLiteral("the server sends a part of another file than it was asked for")
               : QString();
}
