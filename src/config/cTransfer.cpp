#include "config/cTransfer.h"

#include "config/HttpAnswer.h"
#include "config/cConnections.h"
#include "disk/WholeFiles.h"
#include "version/Shown.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtNetwork/QNetworkRequest>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

/// What may lie between the network and this transfer, in bytes. Without such a bound a server that sends faster than
/// events are served fills the memory. It is also what a kill or a cut can lose, beside what the socket holds.
constexpr qint64 ReadBuffer = 128 * 1024;

/// The longest that the beginning of an answer is waited for on a connection that was used before, in milliseconds.
/// When a server closes it at the wrong moment, or whoever stands between has forgotten it, the request may be lost
/// without an error.
constexpr int KeptPatience = 5000;

/// The bytes of a local file that are read at a time.
constexpr qint64 LocalStep = 1024 * 1024;

/// The most that is read of what a server says of an error, where a file could not be as long.
constexpr qint64 ErrorLimit = 64 * 1024;

/// What a byte array can hold beside its own few bytes, and with it a transfer into memory.
constexpr qint64 MemoryLimit = std::numeric_limits<int>::max() - 64;

} // namespace

cTransfer::cTransfer(cConnections& connections, const QUrl& url, const Options& options,
                     std::optional<QIODevice*> device)
    : m_connections(connections)
    , m_url(url)
    , m_options(options)
    , m_hasDevice(device.has_value())
    , m_device(device.value_or(nullptr))
{
}

cTransfer::~cTransfer()
{
    releaseReply();
}

void cTransfer::start()
{
    m_state = Running;
    const QString path = m_url.toLocalFile();
    if (path.isEmpty())
        request();
    else
        readLocalFile(path);
}

void cTransfer::cancel()
{
    // What the reply has said by itself holds: a slot of the last progress may cancel when all has come.
    const bool isOver = m_reply && m_reply->isFinished();
    end(Cancelled, isOver ? int(m_reply->error()) : QNetworkReply::OperationCanceledError,
        QStringLiteral("Operation canceled"));
}

void cTransfer::wait(const QVector<QSharedPointer<cTransfer>>& transfers)
{
    const QVector<QSharedPointer<cTransfer>> held = transfers;
    const auto isRunning = [](const auto& transfer) { return transfer->state() == Running; };
    cConnections::waitWhile([&] { return std::any_of(held.begin(), held.end(), isRunning); });
}

/// What is whole in memory is digested when that is asked for: nobody asks it of a catalogue.
QByteArray cTransfer::digest() const
{
    return m_hasDevice ? m_digest.result() : QCryptographicHash::hash(m_data, QCryptographicHash::Sha1);
}

void cTransfer::readLocalFile(const QString& path)
{
    // Opening a pipe could wait for ever, and a device has no end.
    QFile file(path);
    const QFileInfo info(path);
    if (!info.isFile())
        return fail(QNetworkReply::ContentNotFoundError,
                    info.exists() ? QStringLiteral("this is no file") : QStringLiteral("no such file"));
    if (!file.open(QIODevice::ReadOnly))
        return fail(QNetworkReply::ContentNotFoundError, file.errorString());
    beginAnew();
    const qint64 size = file.size();
    emit progress(0, size);
    if (m_state != Running)
        return;
    if (isTooLong(size))
        return fail(QNetworkReply::OperationCanceledError, QStringLiteral("the file is too long"));
    begin();
    if (!copy(file))
        return fail(QNetworkReply::UnknownContentError, file.errorString());
    if (m_state != Running)
        return;
    emit progress(m_taken, size);
    succeed();
}

/// False when the file cannot be read. Whatever else ends the transfer ends the copying.
bool cTransfer::copy(QFile& file)
{
    while (m_state == Running) {
        const QByteArray bytes = file.read(LocalStep);
        if (bytes.isEmpty())
            break;
        take(bytes);
    }
    return file.error() == QFile::NoError;
}

void cTransfer::request()
{
    m_request.setUrl(m_url);
    m_request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    // Qt 6 would take HTTP/2: a kept connection, its transfers at a time and their rates are those of HTTP/1.1.
    m_request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    // As it lies on the server: a compressed answer that is cut off could not be told from a whole one.
    m_request.setRawHeader("Accept-Encoding", "identity");
    if (m_options.offset > 0) {
        m_request.setRawHeader("Range", "bytes=" + QByteArray::number(m_options.offset) + '-');
        if (!m_options.validator.isEmpty())
            m_request.setRawHeader("If-Range", m_options.validator);
    }
    // It is checked after what the queue holds: what came while a slot kept this thread busy has not been told yet.
    m_stallTimer.setSingleShot(true);
    connect(&m_stallTimer, &QTimer::timeout, this, &cTransfer::checkSilence, Qt::QueuedConnection);
    m_connections.closeIdle();
    m_mayBeLost = m_connections.areKept();
    send(m_connections);
}

void cTransfer::send(QNetworkAccessManager& network)
{
    // Without an application nothing would ever end the transfer.
    m_reply = QCoreApplication::instance() ? network.get(m_request) : nullptr;
    if (!m_reply)
        return fail(QNetworkReply::UnknownNetworkError, QStringLiteral("the request cannot be started"));
    connectReply();
    m_silence.start();
    m_window.start();
    checkSilence();
}

void cTransfer::connectReply()
{
    m_reply->setReadBufferSize(ReadBuffer);
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        emit progress(m_options.offset + received, total < 0 ? total : m_options.offset + total);
    });
    connect(m_reply, &QNetworkReply::redirected, this, [this] {
        m_mayBeLost = false;
        m_silence.restart();
    });
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &cTransfer::arrive);
    connect(m_reply, &QNetworkReply::readyRead, this, &cTransfer::arrive);
    connect(m_reply, &QNetworkReply::finished, this, [this] { finish(m_reply); });
    connect(m_reply, &QObject::destroyed, this,
            [this] { fail(QNetworkReply::OperationCanceledError, QStringLiteral("the network manager is gone")); });
}

int cTransfer::patience() const
{
    return m_mayBeLost ? qMin(KeptPatience, m_options.stallTimeout) : m_options.stallTimeout;
}

/// Over a connection that nobody has used: that of a manager of its own.
void cTransfer::sendAgain()
{
    m_mayBeLost = false;
    releaseReply();
    send(*new QNetworkAccessManager(&m_connections));
}

bool cTransfer::hasDiedOnTheWay() const
{
    const QNetworkReply::NetworkError error = m_reply->error();
    return m_mayBeLost && HttpAnswer::statusOf(*m_reply) == 0 &&
           (error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::UnknownNetworkError);
}

void cTransfer::checkSilence()
{
    if (m_mayBeLost && m_silence.elapsed() >= patience())
        sendAgain();
    const qint64 left = patience() - m_silence.elapsed();
    if (left <= 0)
        fail(QNetworkReply::TimeoutError, QStringLiteral("nothing received for %1 ms").arg(m_options.stallTimeout));
    const qint64 leftOfWindow = m_options.leastRate > 0 ? m_options.rateWindow - m_window.elapsed() : left;
    if (leftOfWindow <= 0)
        checkRate();
    if (m_state == Running)
        m_stallTimer.start(int(qMin(left, leftOfWindow > 0 ? leftOfWindow : m_options.rateWindow)));
}

void cTransfer::checkRate()
{
    if (m_taken - m_takenBefore < qint64(m_options.leastRate) * m_options.rateWindow / 1000)
        return fail(QNetworkReply::TimeoutError, QStringLiteral("slower than %1 a second for %2 ms")
                                                     .arg(counted(m_options.leastRate, "byte"))
                                                     .arg(m_options.rateWindow));
    m_takenBefore = m_taken;
    m_window.restart();
}

/// Once, when the answer is known to be a file.
void cTransfer::begin()
{
    if (m_state != Running || std::exchange(m_hasBegun, true))
        return;
    if (m_reply)
        checkOffset();
    if (m_state == Running)
        emit began();
}

/// The server decides whether a request for the rest is answered with the rest or with the whole.
void cTransfer::checkOffset()
{
    if (m_options.offset == 0)
        return;
    if (HttpAnswer::statusOf(*m_reply) != 206)
        return beginAnew();
    const QString fault = HttpAnswer::faultOfRest(*m_reply, m_options.offset, m_options.validator);
    m_isRestRefused = !fault.isEmpty();
    if (m_isRestRefused)
        fail(QNetworkReply::ProtocolFailure, fault);
}

QByteArray cTransfer::validator() const
{
    return m_reply ? HttpAnswer::validatorOf(*m_reply) : QByteArray();
}

void cTransfer::beginAnew()
{
    if (m_options.offset == 0)
        return;
    m_options.offset = 0;
    auto* file = qobject_cast<QFileDevice*>(m_device.data());
    if (m_device && (!m_device->seek(0) || (file && !file->resize(0))))
        fail(QNetworkReply::OperationCanceledError, writeFault());
}

void cTransfer::arrive()
{
    if (m_state != Running || !m_reply)
        return;
    m_mayBeLost = false;
    m_silence.restart();
    if (HttpAnswer::hasFile(*m_reply))
        begin();
    if (m_state != Running)
        return;
    const qint64 promised = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (isTooLong(qMax(promised, m_taken + m_reply->bytesAvailable())))
        return endTooLong();
    while (m_state == Running && m_reply->bytesAvailable() > 0) {
        take(m_reply->readAll());
    }
}

/// What a server says of an error is no file that is too long: it is passed over for a while, and the error is told.
void cTransfer::endTooLong()
{
    const int status = m_reply ? HttpAnswer::statusOf(*m_reply) : 0;
    if (status < 400)
        return fail(QNetworkReply::OperationCanceledError, QStringLiteral("more bytes than are accepted"));
    m_taken += m_reply->readAll().size();
    if (m_taken > ErrorLimit)
        fail(status == 404 ? QNetworkReply::ContentNotFoundError : QNetworkReply::UnknownContentError,
             HttpAnswer::reasonOf(*m_reply));
}

void cTransfer::finish(const QNetworkReply* reply)
{
    if (m_state != Running || !m_reply || reply != m_reply)
        return;
    if (hasDiedOnTheWay())
        return sendAgain();
    if (m_options.isPart)
        arrive();
    if (m_state != Running)
        return;
    m_isRestRefused = m_options.offset > 0 && HttpAnswer::statusOf(*m_reply) == 416;
    if (m_reply->error() != QNetworkReply::NoError)
        return fail(m_reply->error(), HttpAnswer::reasonOf(*m_reply));
    if (isCutShort())
        return fail(QNetworkReply::RemoteHostClosedError, QStringLiteral("Connection closed"));
    const QByteArray rest = m_reply->readAll();
    take(rest);
    if (m_hasDevice)
        m_data = rest;
    if (m_state == Running)
        emit progress(m_data.size(), m_data.size());
    succeed();
}

bool cTransfer::isTooLong(qint64 bytes) const
{
    return (m_options.sizeLimit > 0 && m_options.offset + bytes > m_options.sizeLimit) ||
           (!m_hasDevice && bytes > MemoryLimit);
}

/// On a busy machine Qt now and then takes a connection that ends early for the end of the answer.
bool cTransfer::isCutShort() const
{
    const QVariant promised = m_reply->header(QNetworkRequest::ContentLengthHeader);
    return promised.isValid() && m_taken + m_reply->bytesAvailable() < promised.toLongLong();
}

/// Counts @p bytes and passes them on.
void cTransfer::take(const QByteArray& bytes)
{
    m_taken += bytes.size();
    if (isTooLong(m_taken))
        return endTooLong();
    // What a server says of an error is no part of the file.
    if ((m_options.offset > 0 || m_options.isPart) && m_reply && !HttpAnswer::hasFile(*m_reply))
        return;
    if (!m_hasDevice) {
        if (!m_reply || HttpAnswer::statusOf(*m_reply) < 400)
            m_data.append(bytes);
        return;
    }
    if (!m_options.isPart)
        m_digest.addData(bytes);
    QString reason;
    if (!m_device)
        reason = QStringLiteral("the device to write to is gone");
    else if (!m_device->isWritable())
        reason = QStringLiteral("the device takes no bytes");
    else if (m_device->write(bytes) != bytes.size())
        reason = writeFault();
    if (!reason.isEmpty())
        fail(QNetworkReply::OperationCanceledError, reason);
}

/// Why the device did not take the bytes.
QString cTransfer::writeFault() const
{
    const auto* file = qobject_cast<const QFileDevice*>(m_device.data());
    return file ? causeOf(*file) : m_device->errorString();
}

void cTransfer::succeed()
{
    // A full disk may show only now.
    auto* file = qobject_cast<QFileDevice*>(m_device.data());
    if (m_state == Running && file && !file->flush())
        fail(QNetworkReply::OperationCanceledError, writeFault());
    end(Succeeded, QNetworkReply::NoError, QString());
}

void cTransfer::fail(int error, const QString& reason)
{
    end(Failed, error, reason);
}

void cTransfer::end(State state, int error, const QString& reason)
{
    if (m_state != Running)
        return;
    m_state = state;
    m_error = error;
    m_errorString = reason;
    m_stallTimer.stop();
    if (m_state != Succeeded)
        m_data = QByteArray();
    releaseReply();
    emit done();
}

/// A signal of the reply may be what has led here: the reply must outlive it.
void cTransfer::releaseReply()
{
    if (!m_reply)
        return;
    QNetworkReply* reply = std::exchange(m_reply, nullptr);
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
    if (reply->manager() != &m_connections)
        reply->manager()->deleteLater(); // of sendAgain()
}
