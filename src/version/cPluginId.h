#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QHash>
#include <QtCore/QString>

/// Whether @p name, which may come from anywhere, names a file or folder inside whatever folder it is joined with, on
/// every system that the library runs on, and the same one whoever reads it. So it is not empty, has no "/", "\\", ":",
/// control character, or other character that a system forbids, does not end in a point or space (as "." and ".." do;
/// points elsewhere are letters), is no name of a device such as "NUL" or "com1.txt", and is no longer than file
/// systems take. Any thread.
[[nodiscard]] bool isSafeFileName(const QString& name);

/// Whether @p name can be that of a plugin or runtime, whose package and folder are named after it: a safe file name
/// without "..". Any thread.
[[nodiscard]] bool isSafePackageName(const QString& name);

/// The same text for all names, or paths, that are one where upper and lower case are the same. What differs in case
/// only is refused on every system: it could not be had side by side on some.
[[nodiscard]] QString caselessFileName(const QString& name);

/**
 * Which plugin: its name and version. A small value, the key of plans, journals, indices and outcomes; any thread may
 * use its own.
 */
class cPluginId
{
public:
    cPluginId() = default;
    cPluginId(const QString& name, const cVersion& version) : m_name(name), m_version(version) {}

    const QString& name() const { return m_name; }
    const cVersion& version() const { return m_version; }
    bool isNull() const { return m_name.isEmpty(); }

    /// "Name-1.02.003", as the plugin's folder is called and as messages name the plugin.
    QString toString() const;

    /// "Name-1.02.003.zip", as the plugin's package is called.
    QString packageFileName() const;

    /// "Name-1.02.003-from-1.02.002.delta", as the patch is called that makes this package from the plugin at @p from.
    QString deltaFileName(const cVersion& from) const;

    /// The same text for all ids whose folders are one where upper and lower case are the same.
    QString caselessKey() const;

    /// Whether the name can be that of a file on every system, and the plugin's folder and package with it.
    [[nodiscard]] bool isSafe() const;

    /// The id whose toString() is @p text; the null id when there is none. The name ends at the last "-" that a
    /// version can stand behind.
    static cPluginId parse(const QString& text);

    friend bool operator==(const cPluginId& a, const cPluginId& b)
    {
        return a.m_version == b.m_version && a.m_name == b.m_name;
    }
    friend bool operator!=(const cPluginId& a, const cPluginId& b) { return !(a == b); }

private:
    QString m_name;
    cVersion m_version;
};

inline uint qHash(const cPluginId& id, uint seed = 0)
{
    // Versions of one name differ in a component or two, mostly by little: a multiplication keeps them apart.
    uint hash = qHash(id.name(), seed);
    for (const qint32 component : {id.version().major(), id.version().minor(), id.version().build()})
        hash = hash * 31 + uint(component);
    return hash;
}
