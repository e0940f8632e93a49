#include "services/cServiceRegistry.h"

#include <QtCore/QMetaClassInfo>

#include <algorithm>
#include <cstring>

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
    const cIndexLock::cChange change(m_lock);
    m_records[record->name()].swap(record);
    return record;
}

cServiceRegistry::Record cServiceRegistry::take(const QString& id)
{
    Record taken;
    const cIndexLock::cChange change(m_lock);
    const auto found = m_records.find(id);
    if (found != m_records.end()) {
        taken.swap(found.value());
        m_records.erase(found);
    }
    return taken;
}

bool cServiceRegistry::withdraw(const Record& record, const Record& before)
{
    Record withdrawn;
    const cIndexLock::cChange change(m_lock);
    const auto found = m_records.find(record->name());
    if (found == m_records.end() || found->second != record)
        return false;
    withdrawn.swap(found.value());
    if (before)
        found.value() = before;
    else
        m_records.erase(found);
    return true;
}

QVector<cServiceRegistry::Record> cServiceRegistry::takeOf(const cCodeImage& image)
{
    const cIndexLock::cChange change(m_lock);
    const QVector<Record> taken = find(image);
    for (const Record& record : taken)
        m_records.erase(record->name());
    return taken;
}

QVector<cServiceRegistry::Record> cServiceRegistry::of(const cCodeImage& image) const
{
    const cIndexLock::cRead reader(m_lock);
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
    const cIndexLock::cChange change(m_lock);
    dropped.swap(m_records);
}

bool cServiceRegistry::contains(const QString& id) const
{
    const cIndexLock::cRead reader(m_lock);
    return m_records.contains(id);
}

QObject* cServiceRegistry::object(const QString& id) const
{
    const auto keyOf = [](const Record& record) { return QStringView(record->name()); };
    const Record* const record = cLastFound<Record>::find(m_lock, id, keyOf, [&]() -> const Record* {
        const auto found = m_records.find(id);
        return found == m_records.end() ? nullptr : &found->second;
    });
    return record ? (*record)->service() : nullptr;
}

QStringList cServiceRegistry::ids() const
{
    QStringList ids;
    {
        const cIndexLock::cRead reader(m_lock);
        for (const auto& record : m_records)
            ids.append(record.first);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}
