#include "common/cCommand.h"

#include <algorithm>

void cSyntax::setName(const char* name, const char* help)
{
    m_name = name;
    m_help = help;
    if (isOption())
        addFlag(name, nullptr, help);
}

void cSyntax::setName(const char* name, QString* target, const char* form, const char* help)
{
    m_name = name;
    m_help = help;
    addOption(name, target, form, help);
}

void cSyntax::addFlag(const char* names, bool* target, const char* help)
{
    m_parameters.append({names, "", help, target});
}

void cSyntax::addOption(const char* names, QString* target, const char* form, const char* help)
{
    m_parameters.append({names, form, help, target});
}

void cSyntax::addOption(const char* names, QStringList* target, const char* form, const char* help)
{
    m_parameters.append({names, form, help, target});
}

void cSyntax::addWord(const char* name, QString* target, const char* help)
{
    m_parameters.append({name, "", help, target});
}

void cSyntax::addWords(const char* name, QStringList* target, const char* help, int least, int most)
{
    m_leastWords = least;
    m_mostWords = most;
    m_parameters.append({name, "", help, target});
}

bool cSyntax::hasOption(const QByteArray& key) const
{
    return std::any_of(m_parameters.begin(), m_parameters.end(),
                       [&](const Parameter& parameter) { return parameter.isOption() && parameter.key() == key; });
}
