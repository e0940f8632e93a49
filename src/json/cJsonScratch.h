#pragma once

#include <QtCore/QtGlobal>

#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

/// Whether the bytes of a value may be moved to another place.
#if QT_VERSION_MAJOR < 6
template <typename T>
constexpr bool isRelocatable = !QTypeInfo<T>::isStatic;
#else
template <typename T>
constexpr bool isRelocatable = QTypeInfo<T>::isRelocatable;
#endif

/**
 * A stack of values of a movable type, on which the content of arrays and objects is collected until its number is
 * known.
 *
 * Values may be taken from the top by copying their bytes and calling `forget`: the type is movable, so the bytes are
 * the value. What is left is destroyed with the stack.
 */
template <typename T>
class cJsonScratch
{
    static_assert(std::is_trivially_copyable<T>::value || isRelocatable<T>,
                  "the values are moved by copying their bytes");

public:
    cJsonScratch() = default;
    ~cJsonScratch()
    {
        while (m_size > 0)
            m_values[--m_size].~T();
        std::free(m_values);
    }

    cJsonScratch(const cJsonScratch&) = delete;
    cJsonScratch& operator=(const cJsonScratch&) = delete;

    quint32 size() const { return m_size; }
    T* at(quint32 i) { return m_values + i; }
    T& last() { return m_values[m_size - 1]; }

    template <typename... Arguments>
    T& push(Arguments&&... arguments)
    {
        if (Q_UNLIKELY(m_size == m_capacity))
            grow();
        return *new (m_values + m_size++) T(std::forward<Arguments>(arguments)...);
    }

    void pop() { m_values[--m_size].~T(); }

    /// Shortens the stack to @p size; the bytes of the values above it have been taken.
    void forget(quint32 size) { m_size = size; }

private:
    void grow()
    {
        const quint32 capacity = m_capacity ? m_capacity * 2 : 16;
        void* const values = std::realloc(static_cast<void*>(m_values), size_t(capacity) * sizeof(T));
        if (!values)
            throw std::bad_alloc();
        m_values = static_cast<T*>(values);
        m_capacity = capacity;
    }

    T* m_values = nullptr;
    quint32 m_size = 0;
    quint32 m_capacity = 0;
};
