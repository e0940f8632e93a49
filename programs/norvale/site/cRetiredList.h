#pragma once

#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>

struct cSiteEntry;

/// A version of a feature that a site has withdrawn.
struct cRetired
{
    struct Plugin
    {
        cPluginId id;
        QByteArray hash; // SHA-1 of its package
        QString file;    // its package, relative to the site; empty once that has been given up
    };

    cPluginId feature; // its name and version
    QString repository;
    QString status;
    QDateTime on;    // when it was withdrawn
    QDateTime until; // how long the packages stay
    QList<Plugin> plugins;
};

/**
 * What a site has withdrawn, in the file ".retired.xml" beside site.xml. It is the site's own: no client asks for it.
 * An entry outlives its packages, since a version that was published once never comes back with other contents.
 */
class cRetiredList
{
public:
    static QString path(const QString& site) { return site + QStringLiteral("/.retired.xml"); }

    /// Reads the list of the folder @p site; an absent one is empty. @return false when it cannot be read.
    [[nodiscard]] bool read(const QString& site);

    /// Why the last read() failed; with the path.
    QString errorString() const { return m_errorString; }

    const QList<cRetired>& list() const { return m_list; }

    /// Whether add() has been called since it was read.
    bool isChanged() const { return m_isChanged; }

    /// Takes the place of an entry for the same version in the same repository.
    void add(const cRetired& retired);

    /// Those of one repository; null when there is none.
    const cRetired* find(const cSiteEntry& entry, const cPluginId& feature) const;
    /// The newest retired version of the feature; 0.0.0 when there is none.
    cVersion newest(const cSiteEntry& entry, const QString& feature) const;
    const cRetired::Plugin* findPlugin(const cSiteEntry& entry, const cPluginId& plugin) const;

    /// The packages whose time is over at @p now, which are given up; some may be in use elsewhere.
    QStringList takeExpired(const QDateTime& now);

    /// The file's content.
    QByteArray xml() const;

private:
    QList<cRetired> m_list;
    bool m_isChanged = false;
    QString m_errorString;
};
