#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMetaObject>
#include <QtCore/QVector>

#include <cstddef>
#include <vector>

namespace QtPrivate {
class QMetaTypeInterface;
}
struct cRemoteMethod;

/**
 * A meta-object with its tables, as the meta-object compiler writes them. Each major version of Qt has its own layout:
 * cMetaTables_qt5.cpp, cMetaTables_qt6.cpp.
 */
class cMetaTables
{
public:
    cMetaTables(const QByteArray& className, const QByteArray& id, const QVector<cRemoteMethod>& methods);

    cMetaTables(const cMetaTables&) = delete;
    cMetaTables& operator=(const cMetaTables&) = delete;

    const QMetaObject* metaObject() const { return &m_meta; }

    /// Answers at @p place that an argument's type cannot be registered, QMetaObject::RegisterMethodArgumentMetaType.
    static void answerNoType(void* place);

private:
    static const uint Revision;
    static const uint MethodSize; // of what stands in m_data for each

    uint text(const QByteArray& text);
    uint type(const QByteArray& name);
    void appendMethods(const QVector<cRemoteMethod>& methods, uint at);
    void layTexts();
    void makeMetaObject();

    std::vector<uint> m_data;
    std::vector<int> m_types; // meta types of the results and arguments
    QHash<QByteArray, uint> m_numbers;
    QVector<QByteArray> m_texts;
    std::vector<std::max_align_t> m_block;                          // where each text is, then the texts
    std::vector<const QtPrivate::QMetaTypeInterface*> m_interfaces; // Qt 6: of m_types
    QMetaObject m_meta;
};
