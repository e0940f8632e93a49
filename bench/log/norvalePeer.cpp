#include "LogScenario.h"

#include <Norvale/cLogCentral.h>

namespace {

/// As a plugin does, with a channel kept beside the code that logs.
const cLog& channel()
{
    static const cLog log = cLogCentral::log(QStringLiteral("bench"));
    return log;
}

void writeOneItem()
{
    channel().info() << LogItems::started << Qt::endl;
}

void writeSevenItems(int number)
{
    channel().info() << LogItems::started << number << LogItems::milliseconds << LogItems::plugin() << true
                     << LogItems::bytes << LogItems::took << Qt::endl;
}

void closeFile()
{
    cLogCentral::setLogFile(QString());
}

} // namespace

const LogPeer& norvalePeer()
{
    static const LogPeer peer{"norvale", cLogCentral::setLogFile, writeOneItem, writeSevenItems, closeFile};
    return peer;
}
