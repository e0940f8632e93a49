#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class cFeatureCatalogue;
class cFeaturePlugin;

/**
 * The Dropbox folder: packages that wait for the next start, and the description that makes them count. Without it they
 * are only kept for the next try.
 *
 * What else lies there belongs to others. The packages that were put there are those that a description names, and
 * those on a list beside them, which is there as long as one of them is.
 *
 * Every change is whole or has not happened, also when the process is killed. Reasons of a false are answered, not
 * logged.
 */
class cDropbox
{
public:
    cDropbox();

    /// Whether the package of @p plugin lies there and matches its hash.
    [[nodiscard]] bool holds(const cFeaturePlugin& plugin) const;
    /// What lies there as the package of @p plugin; empty when nothing does.
    [[nodiscard]] QByteArray packageOf(const cFeaturePlugin& plugin) const;

    /// Lays the package data of @p plugin there. One of the same name that is overwritten takes the description with
    /// it, which may name it.
    [[nodiscard]] bool store(const cFeaturePlugin& plugin, QString* error);

    /// Makes @p update the description, instead of an earlier one. It names packages beside it, so no sources.
    [[nodiscard]] bool commit(const cFeatureCatalogue& update, QString* error);

    /// Whether an update waits there.
    [[nodiscard]] bool hasUpdate() const;

    /// Takes back the update that waits: removes the description, then all packages that were put there. @return what
    /// stays although it should go; empty as a rule.
    QString discard();

    /// Removes the packages that were put there and that @p update does not name, and what killed runs have left. To be
    /// called while the description is still there. @return what stays although it should go; empty as a rule.
    QString tidy(const cFeatureCatalogue& update);

private:
    QString path(const QString& fileName) const { return m_folder + QLatin1Char('/') + fileName; }
    bool removeDescription();
    QStringList listed() const;
    QStringList described() const;
    /// Puts files on the list, and those of the description, which is about to go.
    bool enlist(QStringList names, QString* error);
    QStringList existing(QStringList names) const;
    QString tidy(const QStringList& known, const cFeatureCatalogue& update);
    bool updateList(const QStringList& staying);

    QString m_folder;
    QString m_description;
    QString m_list;
    bool m_isDescribedListed = false;
};
