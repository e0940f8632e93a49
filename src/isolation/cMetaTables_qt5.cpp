#include "isolation/cMetaTables.h"

#include <QtCore/QObject>

#include <algorithm>
#include <new>

const uint cMetaTables::Revision = 8;
const uint cMetaTables::MethodSize = 5;

void cMetaTables::answerNoType(void* place)
{
    *static_cast<int*>(place) = -1;
}

void cMetaTables::layTexts()
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

void cMetaTables::makeMetaObject()
{
    const auto* const texts = reinterpret_cast<const QByteArrayData*>(m_block.data());
    m_meta = {{&QObject::staticMetaObject, texts, m_data.data(), nullptr, nullptr, nullptr}};
}
