#include "cNamedService.h"

#include <cstring>

namespace {

constexpr char ClassName[] = "cNamedService";
constexpr char Key[] = "service";
/// Revision 8, the class name is string 0, there is one class information, at 14, and nothing else; it is made of the
/// strings 1 and 2; the end.
constexpr uint Data[] = {8, 0, 1, 14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 0};

/// The header of @p text for a place at @p header: it tells where the text lies, seen from there.
QByteArrayData headerOf(const char* text, const void* header)
{
    return Q_STATIC_BYTE_ARRAY_DATA_HEADER_INITIALIZER_WITH_OFFSET(int(std::strlen(text)),
                                                                   text - static_cast<const char*>(header));
}

} // namespace

cNamedService::cNamedService(const QByteArray& id)
    : m_id(id)
    , m_strings{headerOf(ClassName, &m_strings[0]), headerOf(Key, &m_strings[1]),
                headerOf(m_id.constData(), &m_strings[2])}
{
    m_metaObject.d.superdata = &QObject::staticMetaObject;
    m_metaObject.d.stringdata = m_strings.data();
    m_metaObject.d.data = Data;
    m_metaObject.d.static_metacall = nullptr;
    m_metaObject.d.relatedMetaObjects = nullptr;
    m_metaObject.d.extradata = nullptr;
}
