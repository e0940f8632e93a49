#include "config/cFetch.h"

#include "config/cConnections.h"
#include "disk/WholeFiles.h"
#include "log/cFrameworkLog.h"
#include "trust/cInstallationTrust.h"

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

/// As a part remembers it: who asks is no matter of the file, and no password lies beside it.
QUrl withoutUser(const QUrl& url)
{
    return url.adjusted(QUrl::RemoveUserInfo);
}

} // namespace

cFetch::cFetch(const Order& order) : m_order(order), m_sources(order.sources), m_part(order.path, bool(order.refusal))
{
    connect(&m_flush, &QFutureWatcher<QString>::finished, this, [this] { conclude(m_flush.result()); });
}

cFetch::~cFetch()
{
    m_flush.waitForFinished();
}

QStringList cFetch::restsOf(const QString& path)
{
    return {cPartFile::partOf(path), cPartFile::originOf(path)};
}

void cFetch::add()
{
    m_state = cTransfer::Running;
    m_hadPart = hasPart(m_order.path);
    if (m_hadPart)
        m_origin = m_part.readOrigin();
    // The source that the part came from goes first: only there it can be gone on with.
    std::stable_partition(m_sources.begin(), m_sources.end(),
                          [this](const Source& source) { return withoutUser(source.url) == m_origin.url; });
}

void cFetch::run(const Means& means)
{
    m_step = Transfers;
    m_means = means;
    QString error;
    if (!makeFolder(QFileInfo(m_order.path).absolutePath(), &error))
        return failOnDisk(error);
    if (!m_hadPart || m_part.isOpen())
        return request();
    if (!m_part.openPart())
        return failOnDisk(m_part.fault());
    readPart();
}

void cFetch::tell(qint64 total)
{
    ++m_telling;
    emit progress(bytesThere(), total);
    --m_telling;
}

/// A piece at a time, between other events: a part may be large.
void cFetch::readPart()
{
    if (m_state != cTransfer::Running)
        return;
    if (m_part.digestOn())
        QMetaObject::invokeMethod(this, &cFetch::readPart, Qt::QueuedConnection);
    else if (m_part.sha1() == m_order.sha1)
        judge(); // a kill may have come before it was put in place
    else
        request();
}

bool cFetch::canGoOn() const
{
    return !m_isAnew && m_part.length() > 0 && !m_origin.validator.isEmpty() && m_origin.url == withoutUser(source());
}

cTransfer::Options cFetch::optionsFor(const Source& source) const
{
    cTransfer::Options options = m_means.options;
    options.isPart = true;
    options.sizeLimit = source.limit;
    if (canGoOn()) {
        options.offset = m_part.length();
        options.validator = m_origin.validator;
    }
    return options;
}

void cFetch::request()
{
    if (m_source == m_sources.size())
        return end(cTransfer::Failed, QNetworkReply::ContentNotFoundError, QStringLiteral("there is no source for it"));
    const Source& source = m_sources[m_source];
    if (source.limit < 0)
        return refuse(cInstallationTrust::notNamed());
    m_transfer = QSharedPointer<cTransfer>::create(*m_means.connections, source.url, optionsFor(source), &m_part);
    connect(m_transfer.data(), &cTransfer::began, this, &cFetch::begin);
    connect(m_transfer.data(), &cTransfer::progress, this,
            [this](qint64, qint64 total) { tell(total < 0 ? total : qMax(total, bytesThere())); });
    // The next transfer takes the place of this one, which is busy with the signal.
    connect(m_transfer.data(), &cTransfer::done, this, &cFetch::takeEnd, Qt::QueuedConnection);
    m_transfer->start();
}

/// What lies there goes only when something else comes: a source that has nothing leaves the part of another one alone.
void cFetch::begin()
{
    if (m_transfer->offset() > 0)
        return;
    m_origin = {withoutUser(source()), m_transfer->validator()};
    if (!m_part.beginFrom(m_origin))
        failOnDisk(m_part.fault());
}

void cFetch::takeEnd()
{
    if (!isIn(Transfers) || m_transfer->state() == cTransfer::Running)
        return;
    m_error = m_transfer->error();
    if (!m_part.fault().isEmpty())
        failOnDisk(m_part.fault());
    else if (m_transfer->hasSucceeded() || m_part.sha1() == m_order.sha1)
        judge();
    else if (m_transfer->isRestRefused())
        tryAgain(m_transfer->errorString());
    else
        refuse(m_transfer->errorString());
}

/// All has come, or lay there.
void cFetch::judge()
{
    const QString reason = refusal();
    if (reason.isEmpty())
        return finish();
    if (!m_part.resize(0))
        return failOnDisk(m_part.fault());
    tryAgain(reason);
}

QString cFetch::refusal()
{
    if (m_part.sha1() != m_order.sha1)
        return QStringLiteral("it does not match its hash");
    return m_order.refusal ? m_order.refusal(m_part.sha256(), m_part.length()) : QString();
}

/// Asks the same source for the whole, if what it had to complete was another's doing.
void cFetch::tryAgain(const QString& reason)
{
    if (m_transfer && m_transfer->offset() == 0)
        return refuse(reason);
    m_isAnew = true;
    request();
}

void cFetch::refuse(const QString& reason)
{
    log(QStringLiteral(" from ") + source().toDisplayString(), reason);
    m_errorString = reason;
    m_isAnew = false;
    m_step = Waits;
    if (++m_source == m_sources.size())
        end(cTransfer::Failed, m_error, reason);
    else
        emit paused();
}

void cFetch::finish()
{
    tell(bytesThere());
    if (m_state != cTransfer::Running)
        return;
    const QString fault = m_order.makeWay ? m_order.makeWay() : QString();
    if (!fault.isEmpty())
        return failOnDisk(fault);
    m_step = Flushes;
    m_flush.setFuture(QtConcurrent::run(m_means.threads, [this] { return putInPlace(); }));
    emit paused(); // the host has room
}

/// On another thread, while nothing else is done with the part. @return why that failed; empty when it did not.
QString cFetch::putInPlace()
{
    const QFileDevice::Permissions run = QFileDevice::ExeOwner | QFileDevice::ExeUser;
    if ((m_order.isProgram && !m_part.setPermissions(m_part.permissions() | run)) || !flushFile(m_part))
        return QStringLiteral("%1 cannot be written: %2").arg(m_part.fileName(), causeOf(m_part));
    m_part.close(); // some systems move no file that is open
    QString error;
    if (!moveOver(m_part.fileName(), m_order.path, &error))
        return error;
    m_part.removeOrigin();
    flushFolder(QFileInfo(m_order.path).absolutePath());
    return QString();
}

void cFetch::conclude(const QString& fault)
{
    if (!isIn(Flushes))
        return;
    if (fault.isEmpty())
        end(cTransfer::Succeeded, QNetworkReply::NoError, QString());
    else
        failOnDisk(fault);
}

void cFetch::failOnDisk(const QString& reason)
{
    log(QString(), reason);
    m_hasDiskFault = true;
    end(cTransfer::Failed, QNetworkReply::OperationCanceledError, reason);
}

void cFetch::end(cTransfer::State state, int error, const QString& reason)
{
    if (m_state != cTransfer::Running)
        return;
    m_state = state;
    m_flush.waitForFinished();
    m_error = error;
    m_errorString = reason;
    if (m_transfer)
        m_transfer->cancel();
    // A part of nothing is of no use, unless somebody else has laid it there.
    if (state != cTransfer::Succeeded && m_part.isOpen() && m_part.length() == 0 && !m_hadPart) {
        m_part.remove();
        m_part.removeOrigin();
    }
    m_part.close();
    ++m_telling;
    emit done();
    --m_telling;
}

void cFetch::log(const QString& from, const QString& reason) const
{
    if (m_order.name.isEmpty())
        return;
    cFrameworkLog::configuration().warning().noquote()
        << "Not fetched:" << m_order.name + from + QLatin1Char(':') << reason << Qt::endl;
}
