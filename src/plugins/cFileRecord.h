#pragma once

#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>

class QFileInfo;
class cJsonValue;

/// What the suite knows of a file that it has unpacked.
struct cRecordedFile
{
    qint64 size = 0;    // bytes
    qint64 changed = 0; // time of the last change, milliseconds since 1970 (UTC), as the file system tells it
    QByteArray sha256;  // of the content, raw bytes

    /// Whether the file looks untouched: same size, same time. Costs one question to the file system.
    bool looksUntouched(const QFileInfo& file) const;

    /// What keeps the file at @p path from being the recorded one, as a sentence that goes on after the file's name:
    /// "is missing", "has 12 bytes instead of 40". Empty when it has the recorded content; its time may be another.
    /// Reads the file whole, in steps, when its size is the recorded one.
    QString difference(const QString& path) const;

    /// Reads the file at @p path in steps. False when the system refuses; @p error tells why.
    [[nodiscard]] bool take(const QString& path, QString* error);
};

/**
 * The record of files: which files each installed plugin consists of, so that a file that is missing, cut short or
 * changed can be told from a sound one.
 *
 * It also knows the features file that the suite has written last. It is kept in `files.json` in the plugins folder and
 * written before the features file names a plugin, with what was installed before still in it; so whatever is installed
 * has its record. Plugins of installations by older versions of the library have none. A record that is damaged is
 * never trusted: it then holds nothing, and says why.
 *
 * An object is a copy in memory. Any thread may use its own.
 */
class cFileRecord
{
public:
    /// By name relative to the plugin's folder, with slashes.
    using Files = QMap<QString, cRecordedFile>;

    /// The path of this installation's record.
    static QString path();

    /// Reads this installation's record. False when there is one that cannot be read whole: nothing is held then, and
    /// errorString() names the file and what is wrong with it. Where there is none, nothing is held and it is true.
    [[nodiscard]] bool read();

    /// Writes this installation's record in a way that survives a power cut. False when that fails; the old one stays,
    /// and errorString() names the file and the cause.
    [[nodiscard]] bool write();

    bool isEmpty() const { return m_plugins.isEmpty(); }
    bool contains(const cPluginId& id) const { return m_plugins.contains(id); }
    /// The files of the plugin; none when it has no record.
    Files files(const cPluginId& id) const { return m_plugins.value(id); }
    void set(const cPluginId& id, const Files& files) { m_plugins.insert(id, files); }
    /// Notes what the plugin's package held, where its install command lines have made something else of it.
    void setPackaged(const cPluginId& id, const Files& files);
    /// Whether the plugin has been installed from a package that held these files; their times do not count.
    bool isFrom(const cPluginId& id, const Files& packaged) const;
    /// Whether the plugin's files lie in @p folder as they were unpacked, and no command line had made others of them.
    /// Reads only those that have been touched since. False when it has no record.
    bool isAsUnpacked(const cPluginId& id, const QString& folder) const;
    /// What tells the first of @p files that lies otherwise in @p folder, with its name; empty when all lie there with
    /// their contents. Reads them whole.
    static QString differenceIn(const QString& folder, const Files& files);
    /// Forgets all plugins but these.
    void keepOnly(const QSet<cPluginId>& plugins);

    /// The texts that the features file may have: the one that is about to be written, and the one before.
    void setCatalogues(const QList<QByteArray>& texts);
    /// False when the features file has been written by somebody else, or damaged in a way that left it well-formed.
    /// True also when nothing is recorded of it.
    bool knowsCatalogue(const QByteArray& text) const;

    const QString& errorString() const { return m_errorString; }

    /// The text of the record and back; path() plays no part.
    QByteArray toBytes() const;
    [[nodiscard]] bool fromBytes(const QByteArray& bytes);

private:
    bool fail(const QString& reason);
    bool readPlugin(const QString& key, const cJsonValue& entries);

    QList<QByteArray> m_catalogues; // SHA-256 of each text that the features file may have
    QHash<cPluginId, Files> m_plugins;
    QHash<cPluginId, QByteArray> m_packages; // digest of what the package held, where it is not that of the files
    QString m_errorString;
};
