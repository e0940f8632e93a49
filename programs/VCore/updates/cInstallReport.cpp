#include "updates/cInstallReport.h"

#include "terminal/Terminal.h"
#include "updates/cProgressLine.h"

namespace {

QString nameOf(IInstallMgr::OPERATION operation)
{
    switch (operation) {
    case IInstallMgr::OPERATION_START:
    case IInstallMgr::OPERATION_LOCATION:
        break; // of no plugin
    case IInstallMgr::OPERATION_EXTRACT:
        return QStringLiteral("unpacking");
    case IInstallMgr::OPERATION_INSTALL:
        return QStringLiteral("setting up");
    case IInstallMgr::OPERATION_UNINSTALL:
        return QStringLiteral("taking down");
    case IInstallMgr::OPERATION_REMOVE:
        return QStringLiteral("removing");
    }
    return QString();
}

} // namespace

cInstallReport::cInstallReport()
{
    IInstallMgr::connectSlots(this, SLOT(onStart(IInstallMgr::OPERATION, QString, QString)), SLOT(onProgress(int, int)),
                              SLOT(onFinished()));
}

cInstallReport::~cInstallReport()
{
    Terminal::status(QString());
}

void cInstallReport::onStart(IInstallMgr::OPERATION operation, const QString& name, const QString& version)
{
    if (operation == IInstallMgr::OPERATION_LOCATION)
        Terminal::answer(QStringLiteral("Installing"));
    const QString what = nameOf(operation);
    if (!what.isEmpty())
        Terminal::answer(
            QStringLiteral("  %1 %2 %3").arg(what, -11).arg(Terminal::printable(name), Terminal::printable(version)));
}

void cInstallReport::onProgress(int current, int total)
{
    constexpr int Width = 40;
    Terminal::status(QStringLiteral("Installing  ") + cProgressLine::barText(current, total, Width));
}
