#pragma once

#include "install/cInstallMgr.h"

/**
 * Announces an operation for as long as it lives: its start when it is made, its finish when it goes, however the
 * operation ends.
 */
class cOperation
{
public:
    cOperation(cInstallMgr& manager, IInstallMgr::OPERATION operation, const QString& name = QString(),
               const QString& version = QString())
        : m_manager(manager)
    {
        emit m_manager.installationStart(operation, name, version);
    }
    ~cOperation() { emit m_manager.installationFinished(); }

    cOperation(const cOperation&) = delete;
    cOperation& operator=(const cOperation&) = delete;

private:
    cInstallMgr& m_manager;
};
