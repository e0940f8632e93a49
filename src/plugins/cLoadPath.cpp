#include "plugins/cLoadPath.h"

#include "plugins/cPluginDependency.h"

void cLoadPath::descend(const Plugin& plugin)
{
    m_steps.append({plugin, plugin->dependencies(), 0});
    m_members.insert(plugin.data());
}

void cLoadPath::ascend()
{
    m_members.remove(plugin().data());
    m_steps.removeLast();
}

QString cLoadPath::takeDependency()
{
    Step& step = m_steps.last();
    if (step.taken == step.dependencies.size())
        return QString();
    const QString name = cPluginDependency(step.dependencies.at(step.taken++)).name();
    return name.isNull() ? QStringLiteral("") : name; // ":2" names a plugin without a name
}

QString cLoadPath::text() const
{
    constexpr int ShownAtEachEnd = 8; // a line of a log is read by people
    const bool isLong = m_steps.size() > 2 * ShownAtEachEnd;
    QStringList names;
    for (int i = 0; i < m_steps.size(); ++i) {
        if (isLong && i == ShownAtEachEnd) {
            names.append(QStringLiteral("..."));
            i = m_steps.size() - ShownAtEachEnd;
        }
        names.append(m_steps.at(i).plugin->name());
    }
    return names.join(QStringLiteral(" -> "));
}
