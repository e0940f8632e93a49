#pragma once

#include "isolation/cPluginLink.h"
#include "services/cListenerRegistry.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QSharedPointer>

#include <functional>
#include <memory>

class cRemoteService;

/**
 * A plugin of another process as the suite deals with it: the way there, the services that stand for its own, the
 * events that it listens to, and what it asks of the suite.
 *
 * It outlives each of its processes. Calls and events may come from any thread; the rest is for the main thread, where
 * it is made.
 */
class cRemotePlugin : public std::enable_shared_from_this<cRemotePlugin>, private IFrameHandler
{
public:
    /// @p id is the plugin's, "Name-1.02.003"; @p limit is the time limit of a call in seconds.
    cRemotePlugin(const QString& id, int limit);
    virtual ~cRemotePlugin();

    const QString& id() const { return m_id; }
    int limit() const { return m_limit; }

    /// Takes the end of a connection; @p whenClosed is called when the other side is gone.
    void connectTo(qintptr end, const std::function<void()>& whenClosed);

    /// Gives the connection up. @p why is what calls are refused with from now on.
    void disconnect(const QString& why);

    /// Withdraws the services, those only that no process has registered since connectTo().
    void withdrawStale();
    void withdrawAll();

    /// Makes a request. @return false with the reason; @p answer is what follows in the answer otherwise. Any thread.
    [[nodiscard]] bool request(cFrameWriter& frame, cFrameReader* answer, QString* reason);

    /// Sends an event; does nothing when there is no connection. Any thread.
    void sendEvent(const QString& eventset, const QString& event, const cMethodCall::Values& values);

private:
    class cForwarder;

    void serve(cFrameReader& frame, cFrameWriter& answer) override;
    void onClosed() override;
    void addService(cFrameReader& frame);
    void withdraw(const QSharedPointer<cRemoteService>& service);
    void removeService(quint32 number);
    void callService(cFrameReader& frame, cFrameWriter& answer);
    void raise(cFrameReader& frame);
    void log(cFrameReader& frame);
    QSharedPointer<cPluginLink> link(QString* why) const;

    const QString m_id;
    const int m_limit; // seconds
    const std::unique_ptr<cForwarder> m_forwarder;
    std::function<void()> m_whenClosed;

    mutable QMutex m_lock; // guards what follows
    QSharedPointer<cPluginLink> m_link;
    QString m_whyNot; // why there is no link
    QVector<QSharedPointer<cRemoteService>> m_services;
    QVector<QSharedPointer<cRemoteService>> m_stale; // those of the process before
    QVector<QSharedPointer<cRemoteService>> m_withdrawn;
    QStringList m_eventsets; // that the process listens to
};
