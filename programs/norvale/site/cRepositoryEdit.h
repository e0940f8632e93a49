#pragma once

#include "config/cFeatureCatalogue.h"
#include "lint/InputFile.h"
#include "plugins/cManifest.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

class cRetiredList;
class cSiteState;

/// A package or a setup program that is to be published.
struct cNewFile
{
    QString path;     // where it comes from
    QByteArray bytes; // empty: read from there again when it is written
    qint64 size = 0;
    QByteArray hash;                   // SHA-1
    QString source;                    // where it goes, relative to the repository
    cPluginId id;                      // of a setup program its file name and the runtime's version
    std::optional<cManifest> manifest; // of a package
    cQtMajors qtMajors;                // of its libraries
    QVector<cFeatureDelta> deltas;     // of a package that has its place: what makes it from older versions
};

/**
 * The new description of a repository: the old one with features in other versions, a runtime, or both.
 *
 * A published version never changes, since an installation that has it does not look again; and no version goes back,
 * unless it is withdrawn. Features that are replaced are kept as earlier ones.
 */
class cRepositoryEdit
{
public:
    using Feature = QSharedPointer<cFeatureInstance>;
    using Plugin = QSharedPointer<cFeaturePlugin>;

    cRepositoryEdit(const cSiteState& state, const cRetiredList& retired) : m_state(state), m_retired(retired) {}

    /// Takes up what stands there, once that has been read.
    void begin();

    /// A published version may change.
    void allowReplacing() { m_mayReplace = true; }

    // Each is false when a rule forbids it; errorString() then says which.

    /// Says in @p package where it goes, and which patches of it are published.
    [[nodiscard]] bool placePackage(cNewFile& package);

    /// Puts @p feature in the place of its older version, which would hide it otherwise.
    [[nodiscard]] bool takeFeature(const Feature& feature);

    /// Puts the setup program @p runtime in the place of all others: installations take the newest one only. Says in it
    /// where it goes.
    [[nodiscard]] bool takeRuntime(cNewFile& runtime);

    /// Withdraws the feature of this name, which is offered: puts @p instead in its place, which stays an earlier one,
    /// too, so that a run that is cut off can be repeated.
    void withdraw(const Feature& instead);

    /// Drops an earlier version.
    void dropEarlier(const QString& feature, const cVersion& version);

    /// Ends the edit: gives the repository the version @p asked, or the next one when that is empty.
    [[nodiscard]] bool finish(const QString& asked, const QString& coreVersion = QString());

    QString errorString() const { return m_errorString; }

    /// The feature of this name as it is now; null when there is none.
    Feature find(const QString& name) const;

    /// As they are now.
    const cFeatureCatalogue::Features& features() const { return m_features; }

    /// The earlier versions of the feature of this name, as they are now.
    cFeatureCatalogue::Features earlierOf(const QString& name) const;

    /// The version for the next one of @p feature, which is offered: above all that it had. Nothing when there is none.
    std::optional<cVersion> versionAbove(const cFeatureInstance& feature) const;

    /// The plugin as it is published, or was; null when it never has been.
    Plugin publishedPlugin(const cPluginId& id) const;

    /// The plugin of a package that has its place.
    Plugin makePlugin(const cNewFile& package) const;

    /// Where the package of @p id goes that is the first one of this version, relative to the repository.
    static QString packagePlace(const cPluginId& id) { return QStringLiteral("packages/") + id.packageFileName(); }

    /// The same plugin without the patches that make its package.
    static Plugin plainPlugin(const cFeaturePlugin& plugin);

    /// The notes of @p newer, and those of @p older that it does not have, the newest first, of as many versions as are
    /// kept.
    static QVector<cFeatureInstance::Note> mergedNotes(const QVector<cFeatureInstance::Note>& newer,
                                                       const QVector<cFeatureInstance::Note>& older);

    /// Whether there is anything new. This and the next are valid after finish().
    bool isChanged() const { return m_isChanged; }
    QByteArray xml() const { return m_xml; }
    const cVersion& version() const { return m_catalogue.version(); }

    bool isEarlierChanged() const { return m_isEarlierChanged; }
    QByteArray earlierXml() const;

private:
    bool isAboveRetired(const cFeatureInstance& feature);
    int placeOf(const QString& name) const;
    void keepAsEarlier(const Feature& feature);
    bool editVersion(bool isChanged, const QString& asked);
    static QByteArray textOf(const Feature& feature);
    bool fail(const QString& reason);

    const cSiteState& m_state;
    const cRetiredList& m_retired;
    bool m_mayReplace = false;
    cFeatureCatalogue::Features m_features;
    cFeatureCatalogue::Features m_earlier;
    cFeatureCatalogue m_catalogue;
    QByteArray m_xml;
    bool m_isChanged = false;
    bool m_isEarlierChanged = false;
    QString m_errorString;
};
