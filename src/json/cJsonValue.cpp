#include <Norvale/cJsonValue.h>

#include <QtCore/QVariant>

#include <algorithm>
#include <limits>
#include <stdexcept>

cJsonValue::cJsonValue(const char* utf8) : m_type(StringType), m_string(QString::fromUtf8(utf8)) {}

cJsonValue::cJsonValue(const QVariant& v)
{
    fromVariant(v);
}

// Both assignments go through a value of their own, so that a value can be assigned a part of itself.
cJsonValue& cJsonValue::operator=(const cJsonValue& other)
{
    cJsonValue copy(other);
    swap(copy);
    return *this;
}

cJsonValue& cJsonValue::operator=(cJsonValue&& other) noexcept
{
    cJsonValue taken(std::move(other));
    swap(taken);
    return *this;
}

int cJsonValue::toInt() const
{
    switch (m_type) {
    case IntType:
        return m_int;
    case UIntType:
        return int(m_uint);
    case DoubleType:
        // Also false for NaN. Converting a double outside the range of int would be undefined.
        return m_double > -2147483649.0 && m_double < 2147483648.0 ? int(m_double) : std::numeric_limits<int>::min();
    default:
        return 0;
    }
}

unsigned int cJsonValue::toUInt() const
{
    switch (m_type) {
    case IntType:
        return uint(m_int);
    case UIntType:
        return m_uint;
    case DoubleType:
        return m_double >= -9223372036854775808.0 && m_double < 9223372036854775808.0 ? uint(qint64(m_double)) : 0;
    default:
        return 0;
    }
}

double cJsonValue::toDouble() const
{
    switch (m_type) {
    case IntType:
        return m_int;
    case UIntType:
        return m_uint;
    case DoubleType:
        return m_double;
    default:
        return 0.0;
    }
}

cJsonValue& cJsonValue::operator[](int i)
{
    m_type = ArrayType;
    // A negative index, read as unsigned, is beyond any size; it is led to the first element, never outside the array.
    if (uint(i) >= uint(m_array.size())) {
        i = std::max(i, 0);
        m_array.resize(std::max(i + 1, int(m_array.size())));
    }
    return m_array[i];
}

const cJsonValue& cJsonValue::operator[](int i) const
{
    return uint(i) < uint(m_array.size()) ? m_array.at(i) : null();
}

cJsonValue& cJsonValue::operator[](const char* key)
{
    return (*this)[QString::fromUtf8(key)];
}

cJsonValue& cJsonValue::operator[](const QString& key)
{
    m_type = ObjectType;
    return m_object[key];
}

const cJsonValue& cJsonValue::operator[](const char* key) const
{
    const auto it = m_object.constFind(QString::fromUtf8(key));
    if (it == m_object.constEnd())
        throw std::out_of_range("key not found");
    return it.value();
}

const cJsonValue& cJsonValue::operator[](const QString& key) const
{
    const auto it = m_object.constFind(key);
    return it == m_object.constEnd() ? null() : it.value();
}

cJsonValue cJsonValue::get(int i, const cJsonValue& def) const
{
    return uint(i) < uint(m_array.size()) ? m_array.at(i) : def;
}

cJsonValue cJsonValue::get(const char* key, const cJsonValue& def) const
{
    return get(QString::fromUtf8(key), def);
}

cJsonValue cJsonValue::get(const QString& key, const cJsonValue& def) const
{
    const auto it = m_object.constFind(key);
    return it == m_object.constEnd() ? def : it.value();
}

bool cJsonValue::contains(const char* key) const
{
    return isObject() && m_object.contains(QString::fromUtf8(key));
}

bool cJsonValue::contains(const QString& key) const
{
    return isObject() && m_object.contains(key);
}

QStringList cJsonValue::keys() const
{
    return isObject() ? QStringList(m_object.keys()) : QStringList();
}

// `insert` and `append` copy first: adding a value to itself must add what it was, not tie it into a ring.
cJsonValue& cJsonValue::insert(const QString& key, const cJsonValue& v)
{
    m_type = ObjectType;
    m_object.insert(key, cJsonValue(v));
    return *this;
}

cJsonValue& cJsonValue::deleteKey(const QString& key)
{
    m_object.remove(key);
    return *this;
}

cJsonValue& cJsonValue::append(const cJsonValue& v)
{
    m_type = ArrayType;
    m_array.append(cJsonValue(v));
    return *this;
}

cJsonValue& cJsonValue::deleteAt(int i)
{
    if (uint(i) < uint(m_array.size()))
        m_array.remove(i);
    return *this;
}

unsigned int cJsonValue::size() const
{
    if (isArray())
        return uint(m_array.size());
    return isObject() ? uint(m_object.size()) : 0;
}

bool cJsonValue::empty() const
{
    return (isArray() || isObject()) && size() == 0;
}

void cJsonValue::clear()
{
    if (isArray())
        m_array.clear();
    else if (isObject())
        m_object.clear();
}

const cJsonValue& cJsonValue::null()
{
    static const cJsonValue value;
    return value;
}

namespace {

/// Levels that are destroyed by plain recursion, about 20 KiB of stack; deeper ones wait for the outermost call.
constexpr int MaxReleaseDepth = 64;

/// What was too deep to be destroyed at once.
struct PendingRelease
{
    QVector<cJsonValue> array;
    QMap<QString, cJsonValue> object;
    PendingRelease* next;
};

/// Without a constructor or destructor, so that values that outlive the thread's other objects can still be destroyed.
struct ReleaseState
{
    int depth;
    PendingRelease* pending;
};

thread_local ReleaseState t_release = {0, nullptr};

} // namespace

void cJsonValue::releaseNested() noexcept
{
    ReleaseState& state = t_release;
    if (state.depth >= MaxReleaseDepth) {
        state.pending = new PendingRelease{std::move(m_array), std::move(m_object), state.pending};
        return;
    }
    ++state.depth;
    m_array = QVector<cJsonValue>();
    m_object = QMap<QString, cJsonValue>();
    while (state.depth == 1 && state.pending) {
        PendingRelease* const next = state.pending;
        state.pending = next->next;
        delete next;
    }
    --state.depth;
}
