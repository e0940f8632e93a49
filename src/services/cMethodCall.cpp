#include "services/cMethodCall.h"

#include "version/ForeignCode.h"
#include "version/MetaTypes.h"
#include "version/Shown.h"
#include "version/cCodeImage.h"

#include <Norvale/cLog.h>

#include <QtCore/QMetaMethod>
#include <QtCore/QMetaType>
#include <QtCore/QSharedPointer>
#include <QtCore/QThread>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

std::atomic<bool> s_hasAnyFailed{false}; // so that calls in a process without such objects pay next to nothing
thread_local bool s_hasFailed = false;

bool answers(const QMetaMethod& method, const char* type)
{
    if (qstrcmp(type, method.typeName()) == 0)
        return true;
    const QByteArray normal = QMetaObject::normalizedType(type);
    const int known = MetaTypes::named(normal.constData());
    return normal == method.typeName() || (known != QMetaType::UnknownType && known == method.returnType());
}

/// Calls a method that takes these values, as QMetaMethod::invoke() does for a direct call; that would hold them
/// against the method's parameters once more.
bool invoke(QObject* object, int index, QGenericReturnArgument result, const cMethodCall::Values& v)
{
    if (result.data() && !answers(object->metaObject()->method(index), result.name()))
        return false;
    void* places[] = {result.data(), v[0].data(), v[1].data(), v[2].data(), v[3].data(), v[4].data(),
                      v[5].data(),   v[6].data(), v[7].data(), v[8].data(), v[9].data()};
    QMetaObject::metacall(object, QMetaObject::InvokeMetaMethod, index, places);
    return true;
}

void logThrown(const QMetaMethod& method, const cLog& log)
{
    const QMetaObject* const meta = method.enclosingMetaObject();
    const QString thrown = whatWasThrown();
    log.error().noquote() << QStringLiteral("The listener %1 of %2 %3 in \"%4\"")
                                 .arg(QLatin1String(meta->className()), cCodeImage::around(meta).path(), thrown,
                                      QLatin1String(method.name()))
                          << Qt::endl;
}

/// Calls a listener at once.
void tell(QObject* listener, int index, const cMethodCall::Values& values, const cLog& log)
{
    const QMetaObject* const meta = listener->metaObject(); // the listener may destroy itself before it throws
    try {
        invoke(listener, index, QGenericReturnArgument(), values);
    } catch (...) {
        logThrown(meta->method(index), log);
    }
}

/// Lists what can be called of an object beside that which every object has.
void listMethods(const QObject* object, const QString& name, QStringList* names, QStringList* signatures,
                 QStringList* ofThisName)
{
    const QMetaObject* const meta = object->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() == QMetaMethod::Signal)
            continue;
        names->append(QString::fromLatin1(method.name()));
        signatures->append(QString::fromLatin1(method.methodSignature()));
        if (names->last() == name)
            ofThisName->append(signatures->last());
    }
}

QString shortList(const QStringList& signatures)
{
    constexpr int Shown = 20;
    QString text = signatures.mid(0, Shown).join(QStringLiteral(", "));
    if (signatures.size() > Shown)
        text += QStringLiteral(" and %1 more").arg(signatures.size() - Shown);
    return text;
}

/// Copies of the values of a call that is made later.
class cKeptValues
{
public:
    /// @p types are those of the method's parameters.
    cKeptValues(const cMethodCall::Values& values, const QVector<int>& types) : m_types(types)
    {
        for (int i = 0; i < types.size(); ++i)
            m_values[size_t(i)] =
                QGenericArgument(values[size_t(i)].name(), QMetaType(types.at(i)).create(values[size_t(i)].data()));
    }
    ~cKeptValues()
    {
        for (int i = 0; i < m_types.size(); ++i)
            QMetaType(m_types.at(i)).destroy(m_values[size_t(i)].data());
    }
    Q_DISABLE_COPY(cKeptValues)

    const cMethodCall::Values& values() const { return m_values; }

private:
    const QVector<int> m_types;
    cMethodCall::Values m_values;
};

} // namespace

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

void cMethodCall::failElsewhere()
{
    s_hasFailed = true;
    s_hasAnyFailed.store(true, std::memory_order_relaxed);
}

bool cMethodCall::callDirectly(QObject* object, QGenericReturnArgument result) const
{
    const int index = indexOf(object, m_signature.constData());
    if (s_hasAnyFailed.load(std::memory_order_relaxed))
        s_hasFailed = false; // of a call that was not made from here
    if (index < 0 || !invoke(object, index, result, m_values))
        return false;
    if (s_hasAnyFailed.load(std::memory_order_relaxed) && s_hasFailed) {
        s_hasFailed = false;
        throw FailedElsewhere();
    }
    return true;
}

QString cMethodCall::whyNot(const QObject* object, const QString& name, const QGenericReturnArgument& result) const
{
    const int index = indexOf(object, m_signature.constData());
    if (index >= 0) {
        const QMetaMethod method = object->metaObject()->method(index);
        return QStringLiteral("its result is of the type %1, not %2")
            .arg(QLatin1String(method.typeName()), QLatin1String(result.name()));
    }
    QStringList names, signatures, ofThisName;
    listMethods(object, name, &names, &signatures, &ofThisName);
    if (!ofThisName.isEmpty()) {
        return QStringLiteral("it has no such method for the given values %1, only %2")
            .arg(QString::fromLatin1(m_signature.constData() + name.size()), shortList(ofThisName));
    }
    if (signatures.isEmpty())
        return QStringLiteral("it has no method to be called: is Q_OBJECT there, are they slots or Q_INVOKABLE?");
    const QString bare = name.section(QLatin1Char('('), 0, 0);
    const QString meant = names.contains(bare) ? bare : nearestName(name, names);
    return QStringLiteral("it has no such method%1; it has %2")
        .arg(meant.isEmpty() ? QString() : QStringLiteral(" (is \"%1\" meant?)").arg(meant), shortList(signatures));
}

bool cMethodCall::hasMethod(const QObject* object, const QString& prefix)
{
    QStringList names, ignored, ofThisName;
    listMethods(object, QString(), &names, &ignored, &ofThisName);
    return std::any_of(names.begin(), names.end(), [&](const QString& name) { return name.startsWith(prefix); });
}

void cMethodCall::deliver(QObject* object, const QString& prefix, const cLog& log) const
{
    Text signature;
    appendLatin1(signature, prefix);
    signature.append(m_signature.constData(), m_signature.size());
    const int index = indexOf(object, signature.constData());
    if (index < 0)
        return;
    if (object->thread() == QThread::currentThread())
        tell(object, index, m_values, log);
    else
        post(object, index, log);
}

// A call that Qt queues itself would let an exception into the event loop of the listener's thread.
void cMethodCall::post(QObject* object, int method, const cLog& log) const
{
    QVector<int> types;
    const QMetaMethod called = object->metaObject()->method(method);
    for (int i = 0; i < called.parameterCount(); ++i) {
        types.append(called.parameterType(i));
        if (types.last() == QMetaType::UnknownType) {
            log.warning().noquote() << QStringLiteral("Cannot queue the event \"%1\": the type %2 is not registered")
                                           .arg(QLatin1String(called.name()),
                                                QLatin1String(called.parameterTypes().at(i)))
                                    << Qt::endl;
            return;
        }
    }
    const auto kept = QSharedPointer<cKeptValues>::create(m_values, types);
    QMetaObject::invokeMethod(
        object, [object, method, kept, log] { tell(object, method, kept->values(), log); }, Qt::QueuedConnection);
}

void cMethodCall::appendLatin1(Text& text, const QString& string)
{
    const int start = text.size();
    text.resize(start + string.size());
    char* to = text.data() + start;
    for (const QChar c : string)
        *to++ = c.unicode() <= 0xff ? char(c.unicode()) : '?';
}

int cMethodCall::indexOf(const QObject* object, const char* signature)
{
    const QMetaObject* meta = object->metaObject();
    const int index = meta->indexOfMethod(signature);
    return index >= 0 ? index : meta->indexOfMethod(QMetaObject::normalizedSignature(signature).constData());
}
