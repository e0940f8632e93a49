#include "install/cConditionEngine.h"

struct cConditionEngine::Engine
{
};

cConditionEngine::cConditionEngine() = default;

cConditionEngine::~cConditionEngine() = default;

bool cConditionEngine::isTrue(const QString& condition)
{
    m_errorString = QStringLiteral("no script engine evaluates \"%1\"").arg(condition);
    return false;
}
