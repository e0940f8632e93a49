#pragma once

#include "site/cSiteEditor.h"

#include <QtCore/QHash>

/// Makes what one status of a repository offers what another one offers.
class cSitePromotion : public cSiteEditor
{
public:
    /// @p place is where to; @p features all when empty.
    cSitePromotion(const cSitePlace& place, const QString& from, const QStringList& features)
        : cSiteEditor(place, "promoted"), m_from(from), m_names(features)
    {
    }

protected:
    ExitCode edit() override;

private:
    using Feature = cRepositoryEdit::Feature;
    using Plugin = cRepositoryEdit::Plugin;

    bool readSource();
    bool promote(const QString& name);
    Plugin pluginOf(const cFeaturePlugin& plugin);
    Plugin publishedHere(const cFeaturePlugin& plugin) const;
    bool readSourcePackage(const cFeaturePlugin& plugin, cNewFile* package);
    bool promoteRuntime();
    QString coreVersion() const;

    const QString m_from;
    const QStringList m_names;
    cSiteState m_source;
    QHash<cPluginId, Plugin> m_placed; // features share plugins
};
