#include "calls/cServiceCall.h"

#include "calls/CallValues.h"
#include "version/MetaTypes.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr int MaxArguments = 10;

QList<QMetaMethod> methodsOf(const QObject* service)
{
    QList<QMetaMethod> methods;
    const QMetaObject* meta = service->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        const bool isCallable = method.methodType() == QMetaMethod::Slot || method.methodType() == QMetaMethod::Method;
        if (isCallable && method.access() == QMetaMethod::Public)
            methods.append(method);
    }
    return methods;
}

QString signaturesOf(const QList<QMetaMethod>& methods)
{
    QStringList signatures;
    for (const QMetaMethod& method : methods)
        signatures.append(QString::fromLatin1(method.methodSignature()));
    return signatures.join(QStringLiteral(", "));
}

bool makeArguments(const QMetaMethod& method, const cJsonValue& json, CallValues::Fit fit, QVariantList* out)
{
    if (method.parameterCount() != int(json.size()))
        return false;
    out->clear();
    for (int i = 0; i < method.parameterCount(); ++i) {
        QVariant value;
        if (!CallValues::fromJson(json[i], method.parameterType(i), fit, &value))
            return false;
        out->append(value);
    }
    return true;
}

// The first method that takes the arguments as they are, else the first that takes them converted.
QMetaMethod pickFitting(const QList<QMetaMethod>& methods, const cJsonValue& json, QVariantList* out)
{
    for (const CallValues::Fit fit : {CallValues::Exact, CallValues::Converted}) {
        for (const QMetaMethod& method : methods) {
            if (makeArguments(method, json, fit, out))
                return method;
        }
    }
    return QMetaMethod();
}

// A parameter of type QVariant takes the variant itself, any other what is in it.
void* dataOf(QVariant& variant, int type)
{
    return type == QMetaType::QVariant ? &variant : variant.data();
}

/// What keeps the plugin that declares the service from giving it, or who gives what.
QString whyNoService(const QString& id)
{
    if (id.isEmpty())
        return QStringLiteral("no service is named");
    const QString text = QStringLiteral("there is no service \"%1\": %2");
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins()) {
        if (plugin.services.contains(id) && !plugin.reason.isEmpty())
            return text.arg(id, plugin.reason);
    }
    return text.arg(id, QStringLiteral("no installed plugin declares it; registered: %1")
                            .arg(IServiceMgr::instance()->serviceList().join(QStringLiteral(", "))));
}

QObject* findService(const QString& id)
{
    IServiceMgr* services = IServiceMgr::instance();
    if (!services->serviceExists(id))
        IPluginMgr::instance()->loadByService(id);
    return services->serviceFromServiceName(id);
}

} // namespace

bool cServiceCall::call(const QString& serviceId, const QString& method, const cJsonValue& arguments)
{
    qRegisterMetaType<cJsonValue>("cJsonValue"); // before the parameter types are looked up by their names
    const QObject* service = findService(serviceId);
    if (!service)
        return fail(UnknownService, whyNoService(serviceId));
    if (!pickMethod(service, method, arguments))
        return false;
    return invoke(serviceId);
}

bool cServiceCall::pickMethod(const QObject* service, const QString& name, const cJsonValue& arguments)
{
    const QList<QMetaMethod> all = methodsOf(service);
    QList<QMetaMethod> methods;
    std::copy_if(all.begin(), all.end(), std::back_inserter(methods),
                 [&](const QMetaMethod& method) { return method.name() == name.toLatin1(); });
    if (all.isEmpty())
        return fail(UnknownMethod, QStringLiteral("the service has no method to be called: is Q_OBJECT there, are they "
                                                  "public slots or Q_INVOKABLE?"));
    if (methods.isEmpty())
        return fail(UnknownMethod,
                    QStringLiteral("the service has no method \"%1\"; it has %2").arg(name, signaturesOf(all)));
    const bool isList = arguments.isNull() || arguments.isArray();
    if (isList && arguments.size() <= MaxArguments)
        m_method = pickFitting(methods, arguments, &m_arguments);
    if (m_method.isValid())
        return true;
    return fail(ArgumentsDoNotFit, QStringLiteral("the arguments fit none of: %1").arg(signaturesOf(methods)));
}

bool cServiceCall::invoke(const QString& serviceId)
{
    const QByteArray returnName = m_method.typeName();
    const int returnType = m_method.returnType();
    m_resultType = QString::fromLatin1(returnName);
    const bool hasResult = returnType != QMetaType::Void && returnType != QMetaType::UnknownType;
    QVariant result = hasResult && returnType != QMetaType::QVariant ? MetaTypes::value(returnType) : QVariant();
    QGenericReturnArgument returned;
    if (hasResult)
        returned = QGenericReturnArgument(returnName.constData(), dataOf(result, returnType));

    const QList<QByteArray> names = m_method.parameterTypes();
    QGenericArgument a[MaxArguments];
    for (int i = 0; i < m_arguments.size(); ++i)
        a[i] = QGenericArgument(names[i].constData(), dataOf(m_arguments[i], m_method.parameterType(i)));
    if (!IServiceMgr::instance()->invoke(serviceId, QString::fromLatin1(m_method.name()), returned, a[0], a[1], a[2],
                                         a[3], a[4], a[5], a[6], a[7], a[8], a[9])) {
        return fail(CallRefused, IServiceMgr::instance()->lastError());
    }
    if (returnType == QMetaType::UnknownType || !CallValues::toJson(result, &m_result)) {
        return fail(ResultHasNoJson,
                    QStringLiteral("called, but its result of type %1 has no JSON form").arg(m_resultType));
    }
    return true;
}

bool cServiceCall::fail(Error error, const QString& text)
{
    m_error = error;
    m_text = text;
    return false;
}

QString cServiceCall::errorName() const
{
    switch (m_error) {
    case UnknownService:
        return QStringLiteral("unknown_service");
    case UnknownMethod:
        return QStringLiteral("unknown_method");
    case ArgumentsDoNotFit:
        return QStringLiteral("arguments_do_not_fit");
    case CallRefused:
        return QStringLiteral("call_refused");
    case ResultHasNoJson:
        return QStringLiteral("result_has_no_json");
    case NoError:
        break;
    }
    return QString();
}
