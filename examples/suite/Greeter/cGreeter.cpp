#include "cGreeter.h"

#include <Norvale/IServiceMgr.h>
#include <QtCore/QUrl>

namespace {
constexpr int LongestName = 100; // each guest has a line in the settings for good
}

QString cGreeter::greet(const QString& name)
{
    IServiceMgr* services = IServiceMgr::instance();
    QString guest = name.left(LongestName);
    if (guest.isEmpty())
        services->invoke("Settings", "value", Q_RETURN_ARG(QString, guest), Q_ARG(QString, "Greeter/Name"),
                         Q_ARG(QString, tr("stranger")));
    const int visit = countVisit(guest);
    services->notify("GreeterEvents", "Greeted", Q_ARG(QString, guest));
    if (visit < 2)
        return greeting(guest);
    return tr("Welcome back, %1! This is visit number %2.").arg(guest, QString::number(visit));
}

int cGreeter::countVisit(const QString& name)
{
    // a key takes no spaces, quotes or letters beyond ASCII
    const QString key = "Greeter/Visits/" + QString::fromLatin1(QUrl::toPercentEncoding(name));
    QString value;
    IServiceMgr::instance()->invoke("Settings", "value", Q_RETURN_ARG(QString, value), Q_ARG(QString, key));
    const int visit = value.toInt() + 1;
    IServiceMgr::instance()->invoke("Settings", "setValue", Q_ARG(QString, key),
                                    Q_ARG(QString, QString::number(visit)));
    return visit;
}
