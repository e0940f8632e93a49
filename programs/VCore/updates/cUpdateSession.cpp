#include "updates/cUpdateSession.h"

#include "updates/UpdateReport.h"
#include "wire/WireText.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QCoreApplication>

namespace {

const QString ResultCode = QStringLiteral("result_code");

} // namespace

cUpdateSession::cUpdateSession()
{
    QObject::connect(&m_stopSignals, &cStopSignals::stopRequested, &m_progress, [this] {
        m_isCancelled = true;
        IConfigMgr::cancelUpdate();
    });
    IPluginMgr::instance()->discover(); // a plugin that is there is not fetched again; what is faulty is logged
}

QJsonObject cUpdateSession::check()
{
    QJsonObject result = run(IConfigMgr::checkForUpdates);
    if (m_isCancelled)
        result.insert(ResultCode, IConfigMgr::Cancelled);
    return result;
}

QJsonObject cUpdateSession::update(const QStringList& features)
{
    QJsonObject result = run([&] { return IConfigMgr::doUpdateOn(features); });
    if (UpdateReport::codeOf(result) == ExitCode::NewCore)
        result.insert(QLatin1String(UpdateReport::SetupProgram), Corvane::restartSetupFilename());
    return result;
}

// A signal that came so far is served before, since nobody else would hear of it.
QJsonObject cUpdateSession::run(const std::function<cJsonValue()>& work)
{
    QCoreApplication::processEvents();
    if (m_isCancelled)
        return {{ResultCode, IConfigMgr::Cancelled}};
    QJsonValue result;
    return WireText::toQt(work(), &result) ? result.toObject() : QJsonObject();
}
