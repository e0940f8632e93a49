#include "isolation/RemoteCalls.h"

QString RemoteCalls::write(const cMethodCall::Values& values, cFrameWriter* frame)
{
    int count = 0;
    while (count < int(values.size()) && values[size_t(count)].name() && *values[size_t(count)].name())
        ++count;
    frame->number(quint32(count));
    for (int i = 0; i < count; ++i) {
        const QGenericArgument& value = values[size_t(i)];
        const QByteArray name = value.name();
        const int type = FrameValues::typeOf(name);
        if (!FrameValues::canTravel(type))
            return QStringLiteral("values of the type %1 cannot travel between processes")
                .arg(QString::fromLatin1(name));
        frame->bytes(name);
        if (!frame->value(FrameValues::variantOf(type, value.data())))
            return QStringLiteral("value %1 holds what cannot travel between processes, or is nested too deep")
                .arg(i + 1);
    }
    return QString();
}

bool RemoteCalls::cReadValues::read(cFrameReader& frame)
{
    const int count = frame.count();
    if (count > cMethodCall::MaxValues)
        return false;
    for (size_t i = 0; i < size_t(count); ++i) {
        m_names[i] = frame.bytes();
        m_read[i] = frame.value();
        void* const place = FrameValues::placeOf(FrameValues::typeOf(m_names[i]), m_read[i]);
        if (!place || !frame.isSound())
            return false;
        m_values[i] = QGenericArgument(m_names[i].constData(), place);
    }
    return true;
}
