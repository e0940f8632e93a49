#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class cFeatureCatalogue;

/**
 * The Dropbox folder: packages that wait for the next start, and the description that makes them count. Without it they
 * are only kept for the next try, and so are the parts and patches of packages that are not whole yet.
 *
 * What else lies there belongs to others. The packages that were put there are those that a description names, and
 * those on a list beside them, which is there as long as one of them is, or a rest: what a fetch or a rebuild that did
 * not come to its end has left beside a package's name.
 *
 * Every change is whole or has not happened, also when the process is killed. Reasons of a false are answered, not
 * logged.
 */
class cDropbox
{
public:
    cDropbox();

    /// The absolute path of what is called @p fileName there, such as a package.
    QString path(const QString& fileName) const { return m_folder + QLatin1Char('/') + fileName; }

    /// Puts the packages of these names on the list, and those of the description, which may be about to go. To be
    /// called before the first byte of one of them, or of its patch, is written.
    [[nodiscard]] bool enlist(QStringList packages, QString* error);

    /// To be called before a file takes the place @p package: the description goes then, if it may name what lies
    /// there.
    [[nodiscard]] bool makeWayFor(const QString& package, QString* error);

    /// Makes @p update the description, instead of an earlier one. It names packages beside it, so no sources.
    [[nodiscard]] bool commit(const cFeatureCatalogue& update, QString* error);

    /// Whether an update waits there.
    [[nodiscard]] bool hasUpdate() const;

    /// Takes back what waits: removes the description, if there is one, then all packages that were put there, with
    /// their rests. @return what stays although it should go; empty as a rule.
    QString discard();

    /// Removes the packages that were put there and that @p update does not name, and the rests but those of a package
    /// that it names and that is not whole yet. To be called while the description is still there. @return what stays
    /// although it should go; empty as a rule.
    QString tidy(const cFeatureCatalogue& update);

private:
    bool removeDescription();
    QStringList listed() const;
    QStringList described() const;
    QStringList files() const;
    /// Those of @p packages of which something lies there.
    QStringList existing(QStringList packages) const;
    QString tidy(const QStringList& known, const cFeatureCatalogue& update);
    bool updateList(const QStringList& packages);

    QString m_folder;
    QString m_description;
    QString m_list;
    bool m_isDescribedListed = false;
};
