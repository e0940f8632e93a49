#pragma once

#include "config/cUpdateLocation.h"

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>

/**
 * Knows the update locations of this installation and relays the progress of transfers from them.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only.
 */
class cUpdateMgr : public QObject
{
    Q_OBJECT

public:
    cUpdateMgr();
    ~cUpdateMgr() override;

    /// Null before the first one is made.
    static cUpdateMgr* instance();

    /// Fills the list anew from the host's settings, in the order of the settings' keys, whatever the priorities are.
    void loadLocations();

    const QList<QSharedPointer<cUpdateLocation>>& locations() const { return m_locations; }

signals:
    void progress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes);

public slots:
    void onProgress(QString filenameBeingDownloaded, qint64 downloadedBytes, qint64 totalBytes);

private:
    QList<QSharedPointer<cUpdateLocation>> m_locations;
};
