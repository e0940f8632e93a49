#include "config/cDownloader.h"

#include <Norvale/cLog.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTimer>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkRequest>

namespace {

/// Upper bound of one step of the wait, in milliseconds.
constexpr int WaitStep = 100;

/// What may lie between the network and a device that is slower, in bytes.
constexpr qint64 ReadBuffer = 256 * 1024;

/// What a byte array can hold, and with it a transfer into memory.
constexpr qint64 MemoryLimit = 0x7fffffff - 64;

/// The server's own words are shortened: they go into the log.
QString reasonOf(const QNetworkReply& reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status < 400)
        return reply.errorString();
    const QString phrase = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().simplified();
    return QStringLiteral("the server answers %1 %2").arg(QString::number(status), phrase.left(100));
}

} // namespace

cDownloader::cDownloader(QObject* parent) : QObject(parent), m_manager(new QNetworkAccessManager(this))
{
    connect(m_manager, &QNetworkAccessManager::finished, this, &cDownloader::replyFinished);
}

cDownloader::~cDownloader()
{
    if (!m_reply)
        return;
    // A slot that the reply's own signal has reached may be what destroys us: the reply must outlive the signal.
    m_reply->disconnect(this);
    m_manager->disconnect(this);
    m_reply->abort();
    m_manager->setParent(nullptr);
    m_manager->deleteLater();
}

bool cDownloader::download(const QUrl& url)
{
    return run(url, Memory, nullptr);
}

bool cDownloader::download(const QUrl& url, QIODevice* device)
{
    return run(url, Device, device);
}

bool cDownloader::run(const QUrl& url, Target target, QIODevice* device)
{
    if (m_isBusy) {
        // The fields belong to the transfer that waits.
        cLogCentral::log(QStringLiteral("ConfigurationMgr")).warning()
            << "Not fetched while another transfer waits:" << url.toDisplayString() << Qt::endl;
        return false;
    }
    reset();
    m_target = target;
    m_output = device;
    m_isBusy = true;
    const QPointer<cDownloader> self(this);
    const QString path = url.toLocalFile();
    if (path.isEmpty())
        fetch(url);
    else
        readLocalFile(path);
    if (!self)
        return false;
    if (!m_succeeded && m_errorString.isEmpty())
        m_errorString = QStringLiteral("cancelled");
    m_output.clear();
    m_isBusy = false;
    return m_succeeded;
}

void cDownloader::reset()
{
    m_error = QNetworkReply::NoError;
    m_finished = false;
    m_cancelled = false;
    m_succeeded = false;
    m_data.clear();
    m_digest.reset();
    m_errorString.clear();
    m_isBrokenOff = false;
    m_written = 0;
}

void cDownloader::readLocalFile(const QString& path)
{
    // Opening a pipe could wait for ever, and a device has no end.
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        m_error = QNetworkReply::ContentNotFoundError;
        m_errorString = file.error() == QFile::NoError ? QStringLiteral("no such file") : file.errorString();
        return;
    }
    const QPointer<cDownloader> self(this);
    const qint64 size = file.size();
    emit progress(0, size);
    if (!self)
        return;
    if (isTooLong(size))
        return breakOff(QNetworkReply::OperationCanceledError, QStringLiteral("the file is too long"));
    m_data = file.readAll();
    if (file.error() != QFile::NoError)
        return breakOff(QNetworkReply::UnknownContentError, file.errorString());
    m_digest.addData(m_data);
    if (m_target == Device)
        writeToOutput(m_data);
    emit progress(m_data.size(), size);
    if (!self || m_isBrokenOff)
        return;
    m_finished = true;
    m_succeeded = true;
    flushOutput();
}

void cDownloader::fetch(const QUrl& url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    // As it lies on the server: a compressed answer that is cut off could not be told from a whole one.
    request.setRawHeader("Accept-Encoding", "identity");
    // A request sent on a connection that the server is about to close can be lost without an answer or an error.
    m_manager->clearConnectionCache();
    // Without an application nothing would ever end the wait.
    m_reply = QCoreApplication::instance() ? m_manager->get(request) : nullptr;
    if (!m_reply) {
        m_error = QNetworkReply::UnknownNetworkError;
        m_errorString = QStringLiteral("the request cannot be started");
        return;
    }
    connectReply();
    const QPointer<cDownloader> self(this);
    wait();
    if (!self)
        return;
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->deleteLater();
        m_reply.clear();
    }
    if (m_target == Memory)
        return;
    // What was still unread at the end has been digested once already. It is digested again: the rule of this system.
    if (!m_isBrokenOff && !m_data.isEmpty()) {
        m_digest.addData(m_data);
        writeToOutput(m_data);
    }
    flushOutput();
}

void cDownloader::connectReply()
{
    connect(m_reply, &QNetworkReply::downloadProgress, this, &cDownloader::onProgress);
    if (m_target == Device) {
        m_reply->setReadBufferSize(ReadBuffer);
        connect(m_reply, &QNetworkReply::readyRead, this, &cDownloader::onReadyRead);
    }
    connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { noteArrival(); });
    connect(m_reply, &QNetworkReply::redirected, this, [this] { m_silence.restart(); });
    connect(m_reply, &QNetworkReply::readyRead, this, [this] { noteArrival(); });
}

void cDownloader::wait()
{
    // Events are waited for, not asked for again and again; the timer is an event every step.
    QTimer step;
    step.start(WaitStep);
    m_silence.start();
    const QPointer<cDownloader> self(this);
    while (self && !m_finished) {
        if (m_target == Memory && m_cancelled)
            break;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (!self || m_finished || !m_silence.hasExpired(m_stallTimeout))
            continue;
        // What came while a slot kept this thread busy has not been told yet.
        QCoreApplication::processEvents();
        if (self && !m_finished && m_silence.hasExpired(m_stallTimeout))
            breakOff(QNetworkReply::TimeoutError, QStringLiteral("nothing received for %1 ms").arg(m_stallTimeout));
    }
}

void cDownloader::noteArrival()
{
    m_silence.restart();
    if (!m_reply || m_isBrokenOff)
        return;
    const qint64 promised = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (isTooLong(qMax(promised, m_written + m_reply->bytesAvailable())))
        breakOff(QNetworkReply::OperationCanceledError, QStringLiteral("more bytes than are accepted"));
}

bool cDownloader::isTooLong(qint64 bytes) const
{
    return (m_sizeLimit > 0 && bytes > m_sizeLimit) || (m_target == Memory && bytes > MemoryLimit);
}

void cDownloader::onProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    emit progress(bytesReceived, bytesTotal);
}

void cDownloader::replyFinished(QNetworkReply* pReply)
{
    if (!pReply || pReply != m_reply)
        return;
    if (!m_isBrokenOff) {
        m_error = pReply->error();
        if (m_error == QNetworkReply::NoError && isCutShort(*pReply)) {
            m_error = QNetworkReply::RemoteHostClosedError;
            m_errorString = QStringLiteral("Connection closed");
        } else if (m_error == QNetworkReply::NoError) {
            m_data = pReply->readAll();
            m_digest.addData(m_data);
            const QPointer<cDownloader> self(this);
            emit progress(m_data.size(), m_data.size());
            if (!self)
                return;
            m_succeeded = !m_cancelled && !m_isBrokenOff;
        } else {
            m_errorString = reasonOf(*pReply);
        }
    }
    m_finished = true;
}

// On a busy machine Qt now and then takes a connection that ends early for the end of the answer.
bool cDownloader::isCutShort(const QNetworkReply& reply) const
{
    const QVariant promised = reply.header(QNetworkRequest::ContentLengthHeader);
    return promised.isValid() && m_written + reply.bytesAvailable() < promised.toLongLong();
}

void cDownloader::cancel()
{
    if (m_reply)
        m_reply->abort();
    m_cancelled = true;
}

void cDownloader::onReadyRead()
{
    while (m_reply && !m_isBrokenOff && m_reply->bytesAvailable() > 0) {
        const QByteArray bytes = m_reply->readAll();
        m_digest.addData(bytes);
        writeToOutput(bytes);
    }
}

void cDownloader::writeToOutput(const QByteArray& bytes)
{
    m_written += bytes.size();
    if (isTooLong(m_written))
        breakOff(QNetworkReply::OperationCanceledError, QStringLiteral("more bytes than are accepted"));
    else if (!m_output)
        breakOff(QNetworkReply::OperationCanceledError, QStringLiteral("the device to write to is gone"));
    else if (!m_output->isWritable())
        breakOff(QNetworkReply::OperationCanceledError, QStringLiteral("the device takes no bytes"));
    else if (m_output->write(bytes) != bytes.size())
        breakOff(QNetworkReply::OperationCanceledError, m_output->errorString());
}

void cDownloader::flushOutput()
{
    // A full disk may show only now.
    auto* file = qobject_cast<QFileDevice*>(m_output.data());
    if (m_succeeded && file && !file->flush())
        breakOff(QNetworkReply::OperationCanceledError, file->errorString());
}

void cDownloader::breakOff(int error, const QString& reason)
{
    m_isBrokenOff = true;
    m_error = error;
    m_errorString = reason;
    m_succeeded = false;
    m_finished = true;
    if (m_reply)
        m_reply->abort();
}
