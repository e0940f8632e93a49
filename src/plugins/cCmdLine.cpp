#include "plugins/cCmdLine.h"

cCmdLine::cCmdLine(const cCmdLine& other)
    : QObject(), m_command(other.m_command), m_params(other.m_params), m_condition(other.m_condition)
{
}

cCmdLine& cCmdLine::operator=(const cCmdLine& other)
{
    m_command = other.m_command;
    m_params = other.m_params;
    m_condition = other.m_condition;
    return *this;
}
