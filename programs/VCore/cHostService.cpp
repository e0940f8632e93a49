#include "cHostService.h"

#include "wire/cFrameDecoder.h"
#include "wire/cHostServer.h"

#include <Norvale/IServiceMgr.h>

cHostService::cHostService(cHostServer* server) : m_server(server)
{
    IServiceMgr::instance()->registerService(this);
}

cHostService::~cHostService()
{
    IServiceMgr::instance()->unregisterService(this);
}

bool cHostService::send(int connectionId, const QString& json)
{
    const QByteArray payload = json.toUtf8();
    return payload.size() <= cFrameDecoder::MaxPayload && m_server->send(connectionId, payload);
}

bool cHostService::broadcast(const QString& json)
{
    const QByteArray payload = json.toUtf8();
    if (payload.size() > cFrameDecoder::MaxPayload)
        return false;
    m_server->broadcast(payload);
    return true;
}

QVariantList cHostService::connections() const
{
    QVariantList ids;
    for (const int id : m_server->connectionIds())
        ids.append(id);
    return ids;
}
