#pragma once

#include <Norvale/cDelayedApplicationIconLoader.h>

#include <QtCore/QFutureWatcher>
#include <QtGui/QPixmap>

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
