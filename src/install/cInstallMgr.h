#pragma once

#include "install/IInstallMgr.h"

#include <Norvale/cLog.h>

#include <QtCore/QObject>
#include <QtCore/QString>

/**
 * Reports the installing and removing of plugin packages.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only.
 */
class cInstallMgr : public QObject
{
    Q_OBJECT

public:
    cInstallMgr();
    ~cInstallMgr() override;

    /// Null before the first one is made.
    static cInstallMgr* instance();

signals:
    /// Name and version of the plugin concerned; both empty for the operations on a whole location.
    void installationStart(IInstallMgr::OPERATION operation, QString name, QString version);
    void installationProgress(int current, int total);
    void installationFinished();

private:
    cLog m_log;
};
