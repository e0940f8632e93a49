#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVector>

#include <atomic>
#include <memory>

class cRemotePlugin;

/// A method of a service of another process.
struct cRemoteMethod
{
    QByteArray name;
    QByteArray resultType;
    QList<QByteArray> types;

    // Made by resolve().
    int resultId = 0; // meta types
    QVector<int> ids;
    QByteArray obstacle; // the first of the types whose values cannot travel; empty when all can

    /// Finds the types of the names.
    cRemoteMethod& resolve();
};

/**
 * What stands in the suite for a service of another process, under the service's id.
 *
 * Its meta-object is made at run time from what the other side has told, so that whoever looks for a method, or calls
 * one by name, finds it as it would that of the service itself. A call is sent over. One that fails is logged here, and
 * fails for the service manager, too; the result is untouched then. Any thread may call.
 */
class cRemoteService : public QObject
{
public:
    cRemoteService(const std::shared_ptr<cRemotePlugin>& plugin, const QString& id,
                   const QVector<cRemoteMethod>& methods);

    const QString& id() const { return m_id; }

    /// Under which number the other process knows it; another one after each start.
    quint32 number() const { return m_number; }
    void setNumber(quint32 number) { m_number = number; }

    const QMetaObject* metaObject() const override { return m_meta; }
    int qt_metacall(QMetaObject::Call call, int id, void** values) override;

    /// The meta-object of a service with these methods; it lives as long as the process, for the texts that
    /// meta-objects answer are not copies. Two services that are the same have the same.
    static const QMetaObject* metaObjectOf(const QString& id, const QVector<cRemoteMethod>& methods);

private:
    void fail(const QByteArray& method, const QString& reason) const;
    bool callMethod(quint32 number, void** values, QString* reason) const;

    const std::weak_ptr<cRemotePlugin> m_plugin;
    const QString m_id;
    QVector<cRemoteMethod> m_methods; // resolved; never changes
    const QMetaObject* const m_meta;
    std::atomic<quint32> m_number{0};
};
