#pragma once

#include "isolation/cPluginLink.h"
#include "isolation/cPluginServices.h"
#include "plugins/cPluginInstance.h"

#include <memory>

/**
 * The one plugin of a process of its own: it loads, starts, calls and stops it as the suite asks, and sends its log
 * lines to the suite. The process ends when the connection does.
 */
class cPluginHost : public QObject, private IFrameHandler
{
    Q_OBJECT

public:
    /// Takes the end of the connection; @p initialize prepares the library, once the names of the application are
    /// known.
    cPluginHost(qintptr end, bool (*initialize)());

    /// Serves until the connection ends. @return the exit code of the process.
    int run();

public slots:
    void onLogLine(const QString& channel, Qt::HANDLE threadId, const QDateTime& time, debugType level,
                   const QString& message);

private:
    void serve(cFrameReader& frame, cFrameWriter& answer) override;
    void onClosed() override;
    void load(cFrameReader& frame, cFrameWriter& answer);
    void askForPlugin(bool isService, const QString& name, bool* ok);
    void conclude(bool isDone, cFrameWriter& answer) const;

    bool (*const m_initialize)();
    cPluginLink m_link;
    std::unique_ptr<cPluginServices> m_services;
    std::unique_ptr<cPluginInstance> m_plugin;
};
