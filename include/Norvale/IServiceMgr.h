#pragma once

#include <Norvale/GenericArguments.h>
#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

/** @ingroup services
 * The service manager: services that are called by name, and event sets with listeners.
 *
 * A plugin publishes a plain QObject as a service; anybody else calls the object's methods by name, without linking
 * against it. Beside that, an event set (a name, such as "PluginMgrEvents") carries events from anyone who notifies to
 * every object that listens. The whole interface is also reachable by name through its own meta-object, for scripts.
 *
 * Services and listeners stay the property of whoever made them: the manager never deletes one. It notices when one is
 * destroyed: what is still registered then answers null or false, and is never called again.
 *
 * There is one manager in the process. `Corvane::initialize` makes it, and it lives as long as the process. Every
 * function may be called from any thread, and from inside a service method or a listener, as no lock is held while one
 * of them runs. A service is registered, unregistered and destroyed by one thread at a time, and so is a listener.
 * Registering announces the service to the message handlers (see `registerService`), which belong to the main
 * thread mostly: a service registered elsewhere has them called there.
 *
 * The order of the virtual functions is fixed: plugins are built against it.
 *
 * @code
 * class cClock : public QObject
 * {
 *     Q_OBJECT
 *     Q_CLASSINFO("service", "Clock")
 * public:
 *     Q_INVOKABLE QString timeIn(const QString& city);
 * };
 *
 * IServiceMgr::instance()->registerService(&clock);
 * ...
 * QString time;
 * IServiceMgr::instance()->invoke("Clock", "timeIn", Q_RETURN_ARG(QString, time), Q_ARG(QString, city));
 * @endcode
 */
class NORVALE_EXPORT IServiceMgr : public QObject
{
    Q_OBJECT

public:
    ~IServiceMgr() override;

    /**
     * The service manager of the process.
     * @return the manager, owned by the library; null before `Corvane::initialize` has made it.
     */
    static IServiceMgr* instance();

    /**
     * Hook for a check of a service's version: hands the meta-object of the service to `verifyAPI2`.
     * @param service_id the id of the service; nothing happens when it is unknown or its object is gone.
     * @param version the version that the caller was built against.
     */
    Q_INVOKABLE virtual void verifyAPI(const QString& service_id, const QString& version) = 0;

    /**
     * Hook for a check of a version against a class. It does nothing now, and never has an effect on the registry.
     * @param pMO the meta-object of the service's class.
     * @param version the version that the caller was built against.
     */
    Q_INVOKABLE virtual void verifyAPI2(const QMetaObject* pMO, const QString& version) = 0;

    /**
     * Publishes an object as a service, and announces it.
     *
     * The class of the object names the service with `Q_CLASSINFO("service", "<id>")`; the entry of a base class wins
     * over one of a derived class. A service of that id which is already there is silently superseded. The text "true"
     * under "threadsafe" marks a service that may be called from any thread; it is kept, and does not change how calls
     * are made.
     *
     * Every registration is announced, on the calling thread, to the handlers of local socket messages as
     * `{"command":"NEWSERVICE","service_id":"<id>"}` with the connection id -1.
     *
     * @param pObject the service, not owned. Ignored when it is null or its class names no id, and while plugins are
     *        being stopped. It should be unregistered before it is destroyed: a destroyed service usually stays in the
     *        list, where it answers null and false.
     */
    Q_INVOKABLE virtual void registerService(QObject* pObject) = 0;

    /**
     * Withdraws the service that is registered under the object's id, whichever object that is.
     * @param pObject an object whose class names the id; it must exist. Ignored when it is null or names no id, and
     *        when nothing is registered under that id. The object is not deleted.
     */
    Q_INVOKABLE virtual void unregisterService(QObject* pObject) = 0;

    /**
     * Calls a method of a service by name, at once and in the calling thread, and takes its result.
     *
     * The method must be a slot or `Q_INVOKABLE`; among several of one name the types of the values decide. Forms with
     * fewer values leave out the last ones. A service that is not thread-safe is to be called from its own thread only;
     * the caller sees to that.
     *
     * @param serviceId the id of the service.
     * @param method the bare name of the method, without parentheses; what is not Latin-1 becomes '?'.
     * @param ret where the result goes, made with `Q_RETURN_ARG`; untouched when the call is not made.
     * @param val0 the first value, made with `Q_ARG`; so are the others. The first empty one ends the list.
     * @param val1 the second value.
     * @param val2 the third value.
     * @param val3 the fourth value.
     * @param val4 the fifth value.
     * @param val5 the sixth value.
     * @param val6 the seventh value.
     * @param val7 the eighth value.
     * @param val8 the ninth value.
     * @param val9 the tenth value.
     * @return true when the method was called. False when the id is unknown, the object is gone, it has no such method
     *         for these types, or the method threw an exception; the reason goes to the log channel "ServiceMgr", and
     *         lastError() answers it.
     */
    Q_INVOKABLE virtual bool
    invoke(const QString& serviceId, const QString& method, QGenericReturnArgument ret,
           QGenericArgument val0 = QGenericArgument(), QGenericArgument val1 = QGenericArgument(),
           QGenericArgument val2 = QGenericArgument(), QGenericArgument val3 = QGenericArgument(),
           QGenericArgument val4 = QGenericArgument(), QGenericArgument val5 = QGenericArgument(),
           QGenericArgument val6 = QGenericArgument(), QGenericArgument val7 = QGenericArgument(),
           QGenericArgument val8 = QGenericArgument(), QGenericArgument val9 = QGenericArgument()) = 0;

    /**
     * Calls a method of a service by name, at once and in the calling thread, and drops its result.
     *
     * As the form that takes a result in everything else.
     *
     * @param serviceId the id of the service.
     * @param method the bare name of the method.
     * @param val0 the first value, made with `Q_ARG`; so are the others.
     * @param val1 the second value.
     * @param val2 the third value.
     * @param val3 the fourth value.
     * @param val4 the fifth value.
     * @param val5 the sixth value.
     * @param val6 the seventh value.
     * @param val7 the eighth value.
     * @param val8 the ninth value.
     * @param val9 the tenth value.
     * @return true when the method was called; false, with the reason in the log, when it was not.
     */
    Q_INVOKABLE virtual bool
    invoke(const QString& serviceId, const QString& method, QGenericArgument val0 = QGenericArgument(),
           QGenericArgument val1 = QGenericArgument(), QGenericArgument val2 = QGenericArgument(),
           QGenericArgument val3 = QGenericArgument(), QGenericArgument val4 = QGenericArgument(),
           QGenericArgument val5 = QGenericArgument(), QGenericArgument val6 = QGenericArgument(),
           QGenericArgument val7 = QGenericArgument(), QGenericArgument val8 = QGenericArgument(),
           QGenericArgument val9 = QGenericArgument()) = 0;

    /**
     * Makes an object listen to an event set: event X of the set is delivered to its method prefix + X.
     *
     * An object that is added again receives each event once more. Of the listeners of a set, the one added last is
     * called first.
     *
     * @param eventset the name of the event set; it need not have been used before.
     * @param pListener the listener, not owned. Ignored when it is null, and while plugins are being stopped.
     * @param prefix what stands before the event's name in the names of the methods.
     */
    Q_INVOKABLE virtual void addListener(const QString& eventset, QObject* pListener,
                                         const QString& prefix = QStringLiteral("on")) = 0;

    /**
     * Withdraws every registration of an object in one event set.
     *
     * From then on the manager no longer watches the object: what it is still registered for in other sets is not
     * withdrawn by itself when the object is destroyed, but skipped, and stays until it is removed by this function.
     *
     * @param eventset the name of the event set.
     * @param pListener the listener. It may have been destroyed: then its address is compared, and not followed.
     */
    Q_INVOKABLE virtual void removeListener(const QString& eventset, QObject* pListener) = 0;

    /**
     * Delivers an event to the listeners of a set, the one added last first.
     *
     * Those that live in the calling thread are called at once, others get a queued call, for which the types of the
     * values must be known to the meta-type system. A listener that has no matching method is skipped silently. What
     * one throws is caught and logged, and the next one is called. One that is removed meanwhile and has not been
     * reached yet is skipped too; one that is added meanwhile is not called. Forms with fewer values leave out the last
     * ones.
     *
     * @param eventset the name of the event set; nothing happens when nobody listens to it.
     * @param event the name of the event, which follows the listener's prefix; what is not Latin-1 becomes '?'.
     * @param val0 the first value, made with `Q_ARG`; so are the others. The first empty one ends the list.
     * @param val1 the second value.
     * @param val2 the third value.
     * @param val3 the fourth value.
     * @param val4 the fifth value.
     * @param val5 the sixth value.
     * @param val6 the seventh value.
     * @param val7 the eighth value.
     * @param val8 the ninth value.
     * @param val9 the tenth value.
     */
    Q_INVOKABLE virtual void
    notify(const QString& eventset, const QString& event, QGenericArgument val0 = QGenericArgument(),
           QGenericArgument val1 = QGenericArgument(), QGenericArgument val2 = QGenericArgument(),
           QGenericArgument val3 = QGenericArgument(), QGenericArgument val4 = QGenericArgument(),
           QGenericArgument val5 = QGenericArgument(), QGenericArgument val6 = QGenericArgument(),
           QGenericArgument val7 = QGenericArgument(), QGenericArgument val8 = QGenericArgument(),
           QGenericArgument val9 = QGenericArgument()) = 0;

    /**
     * Whether a service is registered under an id.
     * @param serviceId the id.
     * @return true also when the object has been destroyed and not been unregistered.
     */
    Q_INVOKABLE virtual bool serviceExists(const QString& serviceId) = 0;

    /**
     * The ids of all registered services.
     * @return the ids in ascending order; empty when there is none.
     */
    Q_INVOKABLE virtual QStringList serviceList() = 0;

    /**
     * The object that is registered under an id.
     * @param serviceId the id.
     * @return the object, owned by whoever registered it; null when the id is unknown or the object is gone. Another
     *         thread may destroy it at any time, unless the two have agreed otherwise.
     */
    Q_INVOKABLE virtual QObject* serviceFromServiceName(const QString& serviceId) = 0;

    /**
     * Why the last call of the calling thread that `invoke` answered with false failed: for who has to tell somebody
     * else than the log.
     * @return the line of the log, such as `Cannot call "greet" of the service "Hello": none is registered under this
     *         id`; empty when none has failed. A call that is made leaves it as it is.
     */
    virtual QString lastError() const = 0;

#if defined(DOXYGEN) || QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    /**
     * The two forms above for what `Q_ARG` and `Q_RETURN_ARG` make from Qt 6.5 on: a call reads the same on every Qt.
     *
     * @param serviceId the id of the service.
     * @param method the bare name of the method.
     * @param values where the result goes, made with `Q_RETURN_ARG`, unless it is dropped; then at most ten values,
     * made with `Q_ARG`. `QGenericReturnArgument` and `QGenericArgument` may stand among them.
     * @return true when the method was called; false, with the reason in the log, when it was not.
     */
    template <typename... Values>
    std::enable_if_t<(Corvane::IsMetaArgument<Values>::value || ...), bool>
    invoke(const QString& serviceId, const QString& method, const Values&... values)
    {
        constexpr bool isPossible = Corvane::valueCount<Values...> <= 10;
        static_assert(isPossible, "A method is called with at most ten values");
        if constexpr (isPossible)
            return invoke(serviceId, method, Corvane::genericArgument(values)...);
    }

    /**
     * The form above for what `Q_ARG` makes from Qt 6.5 on: an event is sent by the same lines on every Qt.
     *
     * @param eventset the name of the event set; nothing happens when nobody listens to it.
     * @param event the name of the event, which follows the listener's prefix.
     * @param values at most ten values, made with `Q_ARG`. `QGenericArgument` may stand among them.
     */
    template <typename... Values>
    std::enable_if_t<(Corvane::IsMetaArgument<Values>::value || ...)>
    notify(const QString& eventset, const QString& event, const Values&... values)
    {
        constexpr bool isPossible = sizeof...(Values) <= 10;
        static_assert(isPossible, "An event has at most ten values");
        if constexpr (isPossible)
            notify(eventset, event, Corvane::genericArgument(values)...);
    }
#endif

protected:
    IServiceMgr();
};
