#pragma once

#include <QtCore/QString>

#include <functional>

class cFeatureCatalogue;
class cFeaturePlugin;

/**
 * The Dropbox folder: packages that wait for the next start, and the description that makes them count. Without it they
 * are only kept for the next try.
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

    /// Lays the package data of @p plugin there. One of the same name that is overwritten takes the description with
    /// it, which may name it.
    [[nodiscard]] bool store(const cFeaturePlugin& plugin, QString* error);

    /// Makes @p update the description, instead of an earlier one. It names packages beside it, so no sources.
    [[nodiscard]] bool commit(const cFeatureCatalogue& update, QString* error);

    /// Whether an update waits there.
    [[nodiscard]] bool hasUpdate() const;

    /// Takes back the update that waits: removes the description, then the packages that it names. @return what stays
    /// although it should go; empty as a rule.
    QString discard();

    /// Removes the packages that @p update does not name, and what killed runs have left. @return what stays although
    /// it should go; empty as a rule.
    QString tidy(const cFeatureCatalogue& update);

private:
    bool removeDescription();
    /// @return which of the files @p isToGo stay.
    QString removeFiles(const std::function<bool(const QString& file)>& isToGo);
    QString path(const QString& fileName) const { return m_folder + QLatin1Char('/') + fileName; }

    QString m_folder;
    QString m_description;
};
