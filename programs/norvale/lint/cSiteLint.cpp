#include "lint/cSiteLint.h"

#include "lint/cGrammar.h"
#include "report/cFindings.h"

bool cSiteLint::check(const QByteArray& xml)
{
    static const cGrammar known{{"", "", "repository"}, {"repository", "config status platform update content", ""}};
    if (!readTree(xml, known))
        return false;
    const cXmlElement root = tree().root();
    for (cXmlElement child = root.firstChild(u"repository"); !child.isNull(); child = child.nextSibling(u"repository"))
        checkEntry(child);
    if (m_entries.isEmpty())
        report(Rule::SiteNoEntries, root, QStringLiteral("there is no <repository>"));
    return true;
}

void cSiteLint::checkEntry(const cXmlElement& entry)
{
    const QString config = entry.attribute(u"config");
    const QString platform = entry.attribute(u"platform");
    if (config != QLatin1String("release") || platform != QLatin1String("x64"))
        report(Rule::SiteOtherBuild, entry,
               QStringLiteral("config \"%1\" and platform \"%2\" fit no installation").arg(config, platform));
    const QString update = entry.attribute(u"update");
    const QString status = entry.attribute(u"status");
    if (update.isEmpty() || status.isEmpty())
        report(Rule::SiteNoUpdate, entry, QStringLiteral("update or status is missing"));
    const QString content = entry.attribute(u"content");
    const QStringList whole{config, status, platform, update, content};
    if (m_seen.contains(whole))
        report(Rule::SiteEntryTwice, entry, QStringLiteral("the entry for %1 (%2) comes twice").arg(update, status));
    m_seen.insert(whole);
    m_entries.append({update, content, entry.line(), entry.column()});
}
