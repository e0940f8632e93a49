#pragma once

#include <Norvale/IInstallMgr.h>

#include <QtCore/QObject>

/// Tells on standard output what the install manager does while this object lives, and shows on a terminal how far it
/// has come.
class cInstallReport : public QObject
{
    Q_OBJECT

public:
    /// Connects itself to the install manager.
    cInstallReport();
    ~cInstallReport() override;

public slots:
    void onStart(IInstallMgr::OPERATION operation, const QString& name, const QString& version);
    void onProgress(int current, int total);
    void onFinished() {}
};
