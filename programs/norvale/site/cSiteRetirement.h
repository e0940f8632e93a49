#pragma once

#include "site/cSiteEditor.h"

/**
 * Withdraws versions of features: one that is offered by offering the one before again, an earlier one by forgetting
 * it. A feature as a whole is replaced by a version without plugins, since an installation that has it could not update
 * any more if it were gone.
 */
class cSiteRetirement : public cSiteEditor
{
public:
    /// @param names each NAME-VERSION or the name of a feature; with none, only what is over is removed.
    /// @param days how long the packages stay.
    cSiteRetirement(const cSitePlace& place, const QStringList& names, int days);

protected:
    ExitCode edit() override;

private:
    using Feature = cRepositoryEdit::Feature;

    bool retire(const QString& name);
    bool retireFeature(const Feature& offered);
    bool goBack(const Feature& offered);
    bool hasPackages(const cFeatureInstance& feature);
    void note(const cFeatureInstance& feature);
    bool failUnknown(const QString& name, const cPluginId& version);

    const QStringList m_names;
    const QDateTime m_now = QDateTime::currentDateTimeUtc();
    const QDateTime m_until;
};
