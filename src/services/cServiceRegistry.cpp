#include "services/cServiceRegistry.h"

#include <QtCore/QMetaClassInfo>
#include <QtCore/QThreadStorage>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace {

/// The value that the class of @p object declares under @p key: the first entry counted from the root class, so that a
/// base class's entry wins over a derived one's. Null when there is none.
const char* classInformation(const QObject* object, const char* key)
{
    // The entries of a meta-object include those of its base classes; the chain is walked all the same, as a
    // meta-object that is made at run time may count only its own.
    for (const QMetaObject* meta = object->metaObject(); meta; meta = meta->superClass()) {
        for (int i = 0; i < meta->classInfoCount(); ++i) {
            const QMetaClassInfo info = meta->classInfo(i);
            if (std::strcmp(info.name(), key) == 0)
                return info.value();
        }
    }
    return nullptr;
}

/// What a thread has found last for some ids. Each holds for one state of one registry: every change of a registry
/// gives it a number that none has had before.
class cLastFound
{
public:
    struct Place
    {
        quint64 state = 0; // 0 for none
        std::size_t hash = 0;
        QSharedPointer<cServiceInstance> record;
    };

    ~cLastFound() { s_ofThread = nullptr; }

    /// The place of the calling thread that may be about the id of this hash.
    static Place& placeOf(std::size_t hash)
    {
        if (!s_ofThread) {
            // Qt destroys it with its thread; MinGW destroys a thread_local object when its memory is gone already.
            static QThreadStorage<cLastFound*> owner;
            owner.setLocalData(s_ofThread = new cLastFound);
        }
        return s_ofThread->m_places[hash % PlaceCount];
    }

private:
    static constexpr std::size_t PlaceCount = 32; // a thread rarely calls more services in turn

    static thread_local cLastFound* s_ofThread;

    std::array<Place, PlaceCount> m_places;
};

thread_local cLastFound* cLastFound::s_ofThread = nullptr;

} // namespace

cServiceInstance::cServiceInstance(QObject* service)
    : m_name(idOf(service))
    , m_service(service)
    , m_isThreadSafe(qstrcmp(classInformation(service, "threadsafe"), "true") == 0)
    , m_code(cCodeImage::codeOf(service))
{
}

QString cServiceInstance::idOf(const QObject* object)
{
    return QString::fromLatin1(classInformation(object, "service"));
}

cServiceRegistry::Record cServiceRegistry::insert(Record record)
{
    const QWriteLocker writer(&m_lock);
    m_records[record->name()].swap(record);
    m_state.store(nextState(), std::memory_order_release);
    return record;
}

cServiceRegistry::Record cServiceRegistry::take(const QString& id)
{
    Record taken;
    const QWriteLocker writer(&m_lock);
    const auto found = m_records.find(id);
    if (found != m_records.end()) {
        taken.swap(found.value());
        m_records.erase(found);
        m_state.store(nextState(), std::memory_order_release);
    }
    return taken;
}

bool cServiceRegistry::withdraw(const Record& record, const Record& before)
{
    Record withdrawn;
    const QWriteLocker writer(&m_lock);
    const auto found = m_records.find(record->name());
    if (found == m_records.end() || found->second != record)
        return false;
    withdrawn.swap(found.value());
    if (before)
        found.value() = before;
    else
        m_records.erase(found);
    m_state.store(nextState(), std::memory_order_release);
    return true;
}

QVector<cServiceRegistry::Record> cServiceRegistry::takeOf(const cCodeImage& image)
{
    const QWriteLocker writer(&m_lock);
    const QVector<Record> taken = find(image);
    for (const Record& record : taken)
        m_records.erase(record->name());
    m_state.store(nextState(), std::memory_order_release);
    return taken;
}

QVector<cServiceRegistry::Record> cServiceRegistry::of(const cCodeImage& image) const
{
    const QReadLocker reader(&m_lock);
    return find(image);
}

QVector<cServiceRegistry::Record> cServiceRegistry::find(const cCodeImage& image) const
{
    QVector<Record> records;
    for (const auto& entry : m_records) {
        if (image.contains(entry.second->code()))
            records.append(entry.second);
    }
    return records;
}

void cServiceRegistry::clear()
{
    FlatMap<QString, Record> dropped;
    const QWriteLocker writer(&m_lock);
    dropped.swap(m_records);
    m_state.store(nextState(), std::memory_order_release);
}

bool cServiceRegistry::contains(const QString& id) const
{
    const QReadLocker reader(&m_lock);
    return m_records.contains(id);
}

QObject* cServiceRegistry::object(const QString& id) const
{
    const std::size_t hash = cSeededHash()(id);
    cLastFound::Place& last = cLastFound::placeOf(hash);
    if (last.hash == hash && last.state == m_state.load(std::memory_order_acquire) && last.record->name() == id)
        return last.record->service();
    cLastFound::Place fresh;
    {
        const QReadLocker reader(&m_lock);
        const auto found = m_records.find(id, hash);
        if (found == m_records.end())
            return nullptr;
        fresh = {m_state.load(std::memory_order_relaxed), hash, found->second};
    }
    std::swap(last, fresh);
    return last.record->service();
}

QStringList cServiceRegistry::ids() const
{
    QStringList ids;
    {
        const QReadLocker reader(&m_lock);
        for (const auto& record : m_records)
            ids.append(record.first);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

quint64 cServiceRegistry::nextState()
{
    static std::atomic<quint64> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}
