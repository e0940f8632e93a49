#pragma once

#include "cStopSignals.h"
#include "updates/cProgressBar.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <functional>

class cJsonValue;

/// One check or update of this process: it shows the progress, and a stop signal cancels it. The framework must have
/// been initialised.
class cUpdateSession
{
public:
    cUpdateSession();

    /// IConfigMgr::checkForUpdates(); a cancelled one has the result code 1, too.
    QJsonObject check();

    /// IConfigMgr::doUpdateOn(), with the path of the setup program when that has been fetched.
    QJsonObject update(const QStringList& features);

private:
    QJsonObject run(const std::function<cJsonValue()>& work);

    cProgressBar m_progress;
    cStopSignals m_stopSignals;
    bool m_isCancelled = false;
};
