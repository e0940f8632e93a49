#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QNetworkReply;

/// What the head of a reply says, once it is there.
namespace HttpAnswer {

/// 0 before it is there, and of what is no HTTP.
int statusOf(const QNetworkReply& reply);

/// Whether a file comes, as opposed to what tells an error or leads elsewhere.
bool hasFile(const QNetworkReply& reply);

/// Why there is no file. The server's own words are shortened: they go into the log.
QString reasonOf(const QNetworkReply& reply);

/// What tells this content of the file from any other: the strong entity tag, else the date; empty without both.
QByteArray validatorOf(const QNetworkReply& reply);

/// Why a reply with the status 206 is not the rest from @p offset on of the file that had @p validator, which may be
/// empty; empty when it is.
QString faultOfRest(const QNetworkReply& reply, qint64 offset, const QByteArray& validator);

} // namespace HttpAnswer
