#include "services/cServiceInstance.h"

#include <QtCore/QMetaClassInfo>

#include <cstring>

cServiceInstance::cServiceInstance(QObject* service)
    : m_name(idOf(service))
    , m_service(service)
    , m_isThreadSafe(classInformation(service, "threadsafe") == QLatin1String("true"))
    , m_guard(service)
{
}

QString cServiceInstance::idOf(const QObject* object)
{
    return classInformation(object, "service");
}

QString cServiceInstance::classInformation(const QObject* object, const char* key)
{
    // The entries of a meta-object include those of its base classes; the chain is walked all the same, as a
    // meta-object that is made at run time may count only its own.
    for (const QMetaObject* meta = object->metaObject(); meta; meta = meta->superClass()) {
        for (int i = 0; i < meta->classInfoCount(); ++i) {
            const QMetaClassInfo info = meta->classInfo(i);
            if (std::strcmp(info.name(), key) == 0)
                return QString::fromLatin1(info.value());
        }
    }
    return QString();
}
