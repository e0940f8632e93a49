#include "isolation/cMetaTables.h"

#include <QtCore/QMetaType>
#include <QtCore/QObject>

#include <algorithm>

// That of Qt 6.4; all later ones read it.
const uint cMetaTables::Revision = 10;
const uint cMetaTables::MethodSize = 6;

void cMetaTables::answerNoType(void* place)
{
    *static_cast<QMetaType*>(place) = QMetaType();
}

void cMetaTables::layTexts()
{
    const size_t header = 2 * sizeof(uint) * size_t(m_texts.size()); // place and length of each
    size_t size = header;
    for (const QByteArray& text : std::as_const(m_texts))
        size += size_t(text.size()) + 1;
    m_block.resize((size + sizeof(std::max_align_t)) / sizeof(std::max_align_t));
    char* const block = reinterpret_cast<char*>(m_block.data());
    auto* entry = reinterpret_cast<uint*>(block);
    char* to = block + header;
    for (const QByteArray& text : std::as_const(m_texts)) {
        *entry++ = uint(to - block);
        *entry++ = uint(text.size());
        to = std::copy(text.constData(), text.constData() + text.size() + 1, to);
    }
}

// A type that is not known yet is looked up by its name whenever it is asked for; the class itself is of none.
void cMetaTables::makeMetaObject()
{
    m_interfaces = {nullptr};
    for (const int type : m_types)
        m_interfaces.push_back(QMetaType(type).iface());
    m_meta = {{&QObject::staticMetaObject, reinterpret_cast<const uint*>(m_block.data()), m_data.data(), nullptr,
               nullptr, m_interfaces.data(), nullptr}};
}
