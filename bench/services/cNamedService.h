#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>

#include <array>

/**
 * A service whose id is given at run time, so that a benchmark can register as many different ones as it likes.
 *
 * A service is named by its class, so each object carries a class of its own: a meta-object with the one class
 * information "service", built here in the form that moc writes.
 */
class cNamedService : public QObject
{
public:
    explicit cNamedService(const QByteArray& id);

    const QMetaObject* metaObject() const override { return &m_metaObject; }

private:
    const QByteArray m_id;
    std::array<QByteArrayData, 3> m_strings; // name of the class, key and value of the class information
    QMetaObject m_metaObject;
};
