#include "services/cEventCall.h"

#include <QtCore/QMetaMethod>

#include <cstring>

cEventCall::cEventCall(const QString& event, const Values& values) : m_values(values)
{
    appendLatin1(m_tail, event);
    m_tail.append('(');
    const char* separator = "";
    for (const QGenericArgument& value : values) {
        const int length = value.name() ? int(std::strlen(value.name())) : 0;
        if (length == 0)
            break;
        m_tail.append(separator, int(std::strlen(separator)));
        m_tail.append(value.name(), length);
        separator = ",";
    }
    m_tail.append(")", 2);
}

void cEventCall::deliver(QObject* listener, const QString& prefix) const
{
    Text signature;
    appendLatin1(signature, prefix);
    signature.append(m_tail.constData(), m_tail.size());

    const QMetaObject* meta = listener->metaObject();
    const int index = indexOfMethod(meta, signature.constData());
    if (index < 0)
        return;
    const Values& v = m_values;
    meta->method(index).invoke(listener, Qt::AutoConnection, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8],
                               v[9]);
}

void cEventCall::appendLatin1(Text& text, const QString& string)
{
    for (const QChar c : string)
        text.append(c.unicode() <= 0xff ? char(c.unicode()) : '?');
}

int cEventCall::indexOfMethod(const QMetaObject* meta, const char* signature)
{
    const int index = meta->indexOfMethod(signature);
    if (index >= 0)
        return index;
    return meta->indexOfMethod(QMetaObject::normalizedSignature(signature).constData());
}
