#pragma once

#include "isolation/cMetaTables.h"
#include "isolation/cRemoteService.h"

#include <QtCore/QObject>

/**
 * A service whose id is given at run time, so that a benchmark can register as many different ones as it likes.
 *
 * A service is named by its class, so each object carries a class of its own.
 */
class cNamedService : public QObject
{
public:
    explicit cNamedService(const QByteArray& id) : m_tables("cNamedService", id, {}) {}

    const QMetaObject* metaObject() const override { return m_tables.metaObject(); }

private:
    const cMetaTables m_tables;
};
