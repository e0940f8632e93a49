#include "isolation/cRemoteService.h"

#include "isolation/Frames.h"
#include "isolation/cRemotePlugin.h"
#include "services/cServiceMgr.h"

#include <QtCore/QHash>
#include <QtCore/QMetaMethod>
#include <QtCore/QMutex>

#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

namespace {

/// A meta-object with its tables, as the meta-object compiler writes them for Qt 5 (revision 8).
class cMetaTables
{
public:
    cMetaTables(const QByteArray& className, const QByteArray& id, const QVector<cRemoteMethod>& methods)
    {
        constexpr uint HeaderSize = 14, ClassInfos = 2, MethodSize = 5, PublicMethod = 0x02;
        const uint methodsAt = HeaderSize + 2 * ClassInfos;
        const uint count = uint(methods.size());
        m_data = {8, text(className), ClassInfos, HeaderSize, count, methodsAt, 0, 0, 0, 0, 0, 0, 0, 0};
        m_data.insert(m_data.end(), {text("service"), text(id), text("threadsafe"), text("true")});
        uint parametersAt = methodsAt + MethodSize * count;
        for (const cRemoteMethod& method : methods) {
            const uint arguments = uint(method.types.size());
            m_data.insert(m_data.end(), {text(method.name), arguments, parametersAt, text(""), PublicMethod});
            parametersAt += 1 + 2 * arguments;
        }
        for (const cRemoteMethod& method : methods) {
            m_data.push_back(type(method.resultType));
            for (const QByteArray& argument : method.types)
                m_data.push_back(type(argument));
            m_data.insert(m_data.end(), size_t(method.types.size()), text("")); // names of the arguments
        }
        m_data.push_back(0);
        layTexts();
        const auto* const texts = reinterpret_cast<const QByteArrayData*>(m_block.data());
        m_meta = {{&QObject::staticMetaObject, texts, m_data.data(), nullptr, nullptr, nullptr}};
    }

    cMetaTables(const cMetaTables&) = delete;
    cMetaTables& operator=(const cMetaTables&) = delete;

    const QMetaObject* metaObject() const { return &m_meta; }

private:
    uint text(const QByteArray& text)
    {
        const auto known = m_numbers.constFind(text);
        if (known != m_numbers.constEnd())
            return known.value();
        m_numbers.insert(text, uint(m_texts.size()));
        m_texts.append(text);
        return uint(m_texts.size()) - 1;
    }

    // A type of Qt's own by its number, any other by its name.
    uint type(const QByteArray& name)
    {
        constexpr uint ByName = 0x80000000;
        const int number = QMetaType::type(name.constData());
        const bool isBuiltIn = number != QMetaType::UnknownType && number < QMetaType::User;
        return isBuiltIn ? uint(number) : ByName | text(name);
    }

    void layTexts()
    {
        int size = m_texts.size() * int(sizeof(QByteArrayData));
        std::vector<int> places;
        for (const QByteArray& text : qAsConst(m_texts)) {
            places.push_back(size);
            size += text.size() + 1;
        }
        m_block.resize((size_t(size) + sizeof(std::max_align_t)) / sizeof(std::max_align_t));
        char* const block = reinterpret_cast<char*>(m_block.data());
        for (int i = 0; i < m_texts.size(); ++i) {
            const int header = i * int(sizeof(QByteArrayData));
            const QByteArray& text = m_texts.at(i);
            new (block + header) QByteArrayData Q_STATIC_BYTE_ARRAY_DATA_HEADER_INITIALIZER_WITH_OFFSET(
                text.size(), places[size_t(i)] - header);
            std::copy(text.constData(), text.constData() + text.size() + 1, block + places[size_t(i)]);
        }
    }

    std::vector<uint> m_data;
    QHash<QByteArray, uint> m_numbers;
    QVector<QByteArray> m_texts;
    std::vector<std::max_align_t> m_block; // headers of the texts, then the texts
    QMetaObject m_meta;
};

QByteArray keyOf(const QString& id, const QVector<cRemoteMethod>& methods)
{
    QByteArray key = id.toUtf8();
    for (const cRemoteMethod& method : methods)
        key += '\n' + method.resultType + ' ' + method.name + '(' + method.types.join(',') + ')';
    return key;
}

} // namespace

cRemoteMethod& cRemoteMethod::resolve()
{
    resultId = resultType.isEmpty() ? int(QMetaType::Void) : FrameValues::typeOf(resultType);
    if (resultId != QMetaType::Void && !FrameValues::canTravel(resultId))
        obstacle = resultType;
    for (const QByteArray& type : qAsConst(types)) {
        ids.append(FrameValues::typeOf(type));
        if (obstacle.isEmpty() && !FrameValues::canTravel(ids.last()))
            obstacle = type;
    }
    return *this;
}

const QMetaObject* cRemoteService::metaObjectOf(const QString& id, const QVector<cRemoteMethod>& methods)
{
    static QMutex lock;
    static auto* const made = new QHash<QByteArray, const cMetaTables*>;
    const QMutexLocker locker(&lock);
    const cMetaTables*& tables = (*made)[keyOf(id, methods)];
    if (!tables)
        tables = new cMetaTables("cRemoteService", id.toLatin1(), methods);
    return tables->metaObject();
}

cRemoteService::cRemoteService(const std::shared_ptr<cRemotePlugin>& plugin, const QString& id,
                               const QVector<cRemoteMethod>& methods)
    : m_plugin(plugin), m_id(id), m_methods(methods), m_meta(metaObjectOf(id, methods))
{
    for (cRemoteMethod& method : m_methods)
        method.resolve();
}

int cRemoteService::qt_metacall(QMetaObject::Call call, int id, void** values)
{
    // What every object has, such as its deletion, is not for callers by name: the object is not the service.
    if (call == QMetaObject::InvokeMetaMethod && id < QObject::staticMetaObject.methodCount()) {
        fail(QObject::staticMetaObject.method(id).name(), QStringLiteral("it cannot be called in another process"));
        return -1;
    }
    const int own = QObject::qt_metacall(call, id, values);
    if (own < 0 || (call != QMetaObject::InvokeMetaMethod && call != QMetaObject::RegisterMethodArgumentMetaType))
        return own;
    if (call == QMetaObject::InvokeMetaMethod && own < m_methods.size()) {
        QString reason;
        if (!callMethod(quint32(own), values, &reason))
            fail(m_methods.at(own).name, reason);
    } else if (call == QMetaObject::RegisterMethodArgumentMetaType) {
        *static_cast<int*>(values[0]) = -1;
    }
    return own - m_methods.size();
}

void cRemoteService::fail(const QByteArray& method, const QString& reason) const
{
    cMethodCall::failElsewhere();
    cServiceMgr::tellFailedCall(
        QStringLiteral("Cannot call \"%1\" of the service \"%2\": %3").arg(QString::fromLatin1(method), m_id, reason));
}

bool cRemoteService::callMethod(quint32 number, void** values, QString* reason) const
{
    const cRemoteMethod& method = m_methods.at(int(number));
    const auto plugin = m_plugin.lock();
    if (!plugin)
        *reason = QStringLiteral("its plugin has been unloaded");
    else if (!method.obstacle.isEmpty())
        *reason = QStringLiteral("values of the type %1 cannot travel to %2, which runs in a process of its own")
                      .arg(QString::fromLatin1(method.obstacle), plugin->id());
    if (!reason->isEmpty())
        return false;
    cFrameWriter frame(FrameKind::Call);
    frame.number(m_number);
    frame.number(number);
    for (int i = 0; i < method.ids.size(); ++i) {
        if (!frame.value(FrameValues::variantOf(method.ids.at(i), values[i + 1]))) {
            *reason = QStringLiteral("its value %1 holds what cannot travel, or is nested too deep").arg(i + 1);
            return false;
        }
    }
    cFrameReader answer;
    if (!plugin->request(frame, &answer, reason))
        return false;
    if (!values[0] || method.resultId == QMetaType::Void)
        return true;
    if (FrameValues::assign(method.resultId, values[0], answer.value()) && answer.isSound())
        return true;
    *reason = QStringLiteral("the answer of %1 is damaged").arg(plugin->id());
    return false;
}
