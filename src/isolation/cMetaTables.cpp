#include "isolation/cMetaTables.h"

#include "isolation/cRemoteService.h"
#include "version/MetaTypes.h"

cMetaTables::cMetaTables(const QByteArray& className, const QByteArray& id, const QVector<cRemoteMethod>& methods)
{
    constexpr uint HeaderSize = 14, ClassInfos = 2;
    const uint methodsAt = HeaderSize + 2 * ClassInfos;
    m_data = {Revision, text(className), ClassInfos, HeaderSize, uint(methods.size()), methodsAt, 0, 0, 0, 0, 0, 0, 0,
              0};
    m_data.insert(m_data.end(), {text("service"), text(id), text("threadsafe"), text("true")});
    appendMethods(methods, methodsAt);
    m_data.push_back(0);
    layTexts();
    makeMetaObject();
    m_numbers.clear();
    m_texts.clear();
}

void cMetaTables::appendMethods(const QVector<cRemoteMethod>& methods, uint at)
{
    constexpr uint PublicMethod = 0x02;
    uint parametersAt = at + MethodSize * uint(methods.size());
    uint typesAt = 1; // behind that of the class
    for (const cRemoteMethod& method : methods) {
        const uint arguments = uint(method.types.size());
        const uint entry[] = {text(method.name), arguments, parametersAt, text(""), PublicMethod, typesAt};
        m_data.insert(m_data.end(), entry, entry + MethodSize);
        parametersAt += 1 + 2 * arguments;
        typesAt += 1 + arguments;
    }
    for (const cRemoteMethod& method : methods) {
        m_data.push_back(type(method.resultType));
        for (const QByteArray& argument : method.types)
            m_data.push_back(type(argument));
        m_data.insert(m_data.end(), size_t(method.types.size()), text("")); // names of the arguments
    }
}

uint cMetaTables::text(const QByteArray& text)
{
    const auto known = m_numbers.constFind(text);
    if (known != m_numbers.constEnd())
        return known.value();
    m_numbers.insert(text, uint(m_texts.size()));
    m_texts.append(text);
    return uint(m_texts.size()) - 1;
}

// A type of Qt's own by its number, any other by its name.
uint cMetaTables::type(const QByteArray& name)
{
    constexpr uint ByName = 0x80000000;
    const int number = MetaTypes::named(name.constData());
    m_types.push_back(number);
    const bool isBuiltIn = number != QMetaType::UnknownType && number < QMetaType::User;
    return isBuiltIn ? uint(number) : ByName | text(name);
}
