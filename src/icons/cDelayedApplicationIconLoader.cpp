#include <Norvale/cDelayedApplicationIconLoader.h>

#include <Norvale/Corvane.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QCoreApplication>
#include <QtCore/QFutureWatcher>
#include <QtCore/QThreadPool>
#include <QtGui/QPixmap>

#include <atomic>
#include <new>

/// The loader that `cDelayedApplicationIconLoader::createLoader` makes.
class cDelayedApplicationIconLoaderImpl : public cDelayedApplicationIconLoader
{
    Q_OBJECT

public:
    cDelayedApplicationIconLoaderImpl(QObject* parent, const QString& id, const QString& path);

    void start() override;
    QString id() override { return m_id; }
    QPixmap pixmap() override;
    QString path() override { return m_path; }

private slots:
    void futureFinished();

private:
    QString m_id;
    QString m_path;
    QFutureWatcher<QPixmap> m_watcher;
};

namespace {

std::atomic<bool> s_isEndAwaited{false};

/// Makes the application wait at its end for what is still loading, also for loaders that are gone: without an
/// application there must be no pixmap.
void awaitEndBeforeApplication()
{
    if (s_isEndAwaited.exchange(true))
        return;
    qAddPostRoutine([] {
        s_isEndAwaited = false;
        QThreadPool::globalInstance()->waitForDone();
    });
}

} // namespace

cDelayedApplicationIconLoader::cDelayedApplicationIconLoader(QObject* parent) : QObject(parent) {}

cDelayedApplicationIconLoader* cDelayedApplicationIconLoader::createLoader(QObject* parent, const QString& id,
                                                                           const QString& path)
{
    return new (std::nothrow) cDelayedApplicationIconLoaderImpl(parent, id, path);
}

cDelayedApplicationIconLoaderImpl::cDelayedApplicationIconLoaderImpl(QObject* parent, const QString& id,
                                                                     const QString& path)
    : cDelayedApplicationIconLoader(parent), m_id(id), m_path(path)
{
    connect(&m_watcher, &QFutureWatcher<QPixmap>::finished, this, &cDelayedApplicationIconLoaderImpl::futureFinished);
}

void cDelayedApplicationIconLoaderImpl::start()
{
    if (m_watcher.isRunning())
        return;
    awaitEndBeforeApplication();
    m_watcher.setFuture(QtConcurrent::run(&Corvane::loadApplicationIcon, m_path));
}

QPixmap cDelayedApplicationIconLoaderImpl::pixmap()
{
    m_watcher.waitForFinished();
    return m_watcher.future().resultCount() > 0 ? m_watcher.result() : QPixmap();
}

void cDelayedApplicationIconLoaderImpl::futureFinished()
{
    emit finished(this);
}

#include "cDelayedApplicationIconLoader.moc"
