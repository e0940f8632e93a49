#pragma once

#include "config/cFeatureCatalogue.h"
#include "version/cPluginId.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

/// The plugins of @p features, in their order, each once.
QVector<cPluginId> pluginsOf(const cFeatureCatalogue::Features& features);

/**
 * What an install from a location is to change: which features it brings, which of them have to be left out, and what
 * that means for the set of installed features and plugins.
 *
 * Works on records only; nothing is read from or written to the disk.
 */
class cInstallPlan
{
public:
    /// Why a feature is left out, or a plugin cannot be had; empty when it is not so.
    struct Reason
    {
        QString text;
        bool isWorthRetrying = false; // it may be gone at the next start

        bool isEmpty() const { return text.isEmpty(); }
    };

    /// A feature that the location offers and that is to take the place of what is installed.
    struct Feature
    {
        QSharedPointer<cFeatureInstance> record;
        Reason reason; // for leaving it out

        bool isLeftOut() const { return !reason.isEmpty(); }
    };

    /// Of the features that @p offered lists, those are taken up that are newer than what is installed, or come from
    /// another repository. Of several with one name the first counts.
    /// @param present the plugins of @p installed whose folders are really there.
    cInstallPlan(const cFeatureCatalogue& installed, const QSet<cPluginId>& present, const cFeatureCatalogue& offered);

    const QVector<Feature>& features() const { return m_features; }

    /// The features as they were before the run.
    const cFeatureCatalogue& installed() const { return m_installed; }

    const QSet<cPluginId>& present() const { return m_present; }
    bool isPresent(const cPluginId& id) const { return m_present.contains(id); }

    /// Leaves out the feature at @p index.
    void leaveOut(int index, const Reason& reason) { m_features[index].reason = reason; }

    /// Leaves it out because of what the others are. What may be gone at the next start where one of them is tried
    /// again then.
    void leaveOut(int index, const QString& text) { leaveOut(index, {text, hasRetried()}); }

    /// Leaves out what cannot be had with the features as they then are: one that depends on a feature that has been
    /// left out, or that is neither offered nor installed, and one with a plugin that a feature that stays has in
    /// another version, for two versions of a plugin are not published.
    void settle();

    /// Nothing is left out.
    bool isComplete() const;
    /// Something is not left out.
    bool hasTaken() const;

    /// The installed features after the run: those that stay, with replacements in their places, then the new ones.
    cFeatureCatalogue::Features result() const;
    /// Plugins of the taken features that are not there yet, and installed ones that the result names no more; each
    /// once.
    QVector<cPluginId> added() const;
    QVector<cPluginId> removed() const;

    /// All plugins that the run may add or remove, whatever will be left out.
    QVector<cPluginId> touched() const;

private:
    bool isTaken(const QString& name) const;
    bool hasRetried() const;
    QString unmetDependency(const cFeatureInstance& feature) const;
    bool isLackingCore(const cFeatureInstance& feature) const;
    bool settleOnce();
    static QString clash(const cFeatureInstance& feature, const QHash<QString, cVersion>& versions);
    static void enter(const cFeatureInstance& feature, QHash<QString, cVersion>& versions);

    cFeatureCatalogue m_installed;
    QSet<cPluginId> m_present;
    QVector<Feature> m_features;
    QHash<QString, int> m_placeByName; // in m_features
};
