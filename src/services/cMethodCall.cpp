#include "services/cMethodCall.h"

#include <QtCore/QMetaMethod>

#include <cstring>

cMethodCall::cMethodCall(const QString& name, const Values& values) : m_values(values)
{
    appendLatin1(m_signature, name);
    m_signature.append('(');
    for (const QGenericArgument& value : values) {
        if (!value.name() || !*value.name())
            break;
        m_signature.append(value.name(), int(std::strlen(value.name())));
        m_signature.append(',');
    }
    if (m_signature.last() == ',')
        m_signature.removeLast();
    m_signature.append(")", 2);
}

bool cMethodCall::callDirectly(QObject* object, QGenericReturnArgument result) const
{
    return call(object, m_signature.constData(), Qt::DirectConnection, result);
}

bool cMethodCall::deliver(QObject* object, const QString& prefix) const
{
    Text signature;
    appendLatin1(signature, prefix);
    signature.append(m_signature.constData(), m_signature.size());
    return call(object, signature.constData(), Qt::AutoConnection, QGenericReturnArgument());
}

void cMethodCall::appendLatin1(Text& text, const QString& string)
{
    const int start = text.size();
    text.resize(start + string.size());
    char* to = text.data() + start;
    for (const QChar c : string)
        *to++ = c.unicode() <= 0xff ? char(c.unicode()) : '?';
}

bool cMethodCall::call(QObject* object, const char* signature, Qt::ConnectionType type,
                       QGenericReturnArgument result) const
{
    const QMetaObject* meta = object->metaObject();
    int index = meta->indexOfMethod(signature);
    if (index < 0)
        index = meta->indexOfMethod(QMetaObject::normalizedSignature(signature).constData());
    if (index < 0)
        return false;
    const Values& v = m_values;
    return meta->method(index).invoke(object, type, result, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9]);
}
