#pragma once

#include "isolation/cPluginLink.h"
#include "services/cServiceMgr.h"

#include <QtCore/QMutex>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QVarLengthArray>

/**
 * The service manager in a plugin's process: that of the suite, as far as it can be reached from here.
 *
 * What is registered here is announced to the suite; a call goes to a service of this process where there is one, else
 * to the suite; an event goes to the listeners of this process at once, and to the suite. Any thread, as IServiceMgr
 * has it.
 */
class cPluginServices : public cServiceMgr
{
public:
    /// Becomes the manager of the process. @p limit is the time limit of a call in seconds.
    cPluginServices(cPluginLink& link, int limit);

    void registerService(QObject* pObject) override;
    void unregisterService(QObject* pObject) override;
    bool invoke(const QString& serviceId, const QString& method, QGenericReturnArgument ret, QGenericArgument val0,
                QGenericArgument val1, QGenericArgument val2, QGenericArgument val3, QGenericArgument val4,
                QGenericArgument val5, QGenericArgument val6, QGenericArgument val7, QGenericArgument val8,
                QGenericArgument val9) override;
    bool invoke(const QString& serviceId, const QString& method, QGenericArgument val0, QGenericArgument val1,
                QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9) override;
    void addListener(const QString& eventset, QObject* pListener, const QString& prefix) override;
    void notify(const QString& eventset, const QString& event, QGenericArgument val0, QGenericArgument val1,
                QGenericArgument val2, QGenericArgument val3, QGenericArgument val4, QGenericArgument val5,
                QGenericArgument val6, QGenericArgument val7, QGenericArgument val8, QGenericArgument val9) override;
    bool serviceExists(const QString& serviceId) override;
    QStringList serviceList() override;

    /// Makes a call that the suite asks for.
    void serveCall(cFrameReader& frame, cFrameWriter& answer);

    /// Delivers an event of the suite to the listeners of this process.
    void serveEvent(cFrameReader& frame);

    /// Asks the suite; @return false, with the reason in the log, when it has not answered.
    bool ask(cFrameWriter& frame, cFrameReader* answer, const QString& what);

private:
    struct Service
    {
        QPointer<QObject> object;
        QString id;
        QVector<int> methods; // their indices in the meta-object
    };

    bool describe(const QObject& object, const QString& id, Service* service, cFrameWriter* frame) const;

    cPluginLink& m_link;
    const int m_limit;
    const cLog m_log;
    QMutex m_lock;               // guards what follows
    QVector<Service> m_services; // by their numbers
    QSet<QString> m_eventsets;   // that the suite sends the events of
};
