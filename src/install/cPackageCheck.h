#pragma once

#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

class cPackage;
struct cZipRecord;

/// What is wrong with a package.
struct cPackageFinding
{
    /// The rules that a package is held against.
    enum Rule {
        Readable,     ///< the file can be read and is a zip archive with all of its records
        Hash,         ///< the bytes have the expected SHA-1
        Manifest,     ///< "Manifest.xml" is there and well-formed, and its first plugin has a name
        Start,        ///< no start refuses the plugin for what its manifest says
        Identity,     ///< the manifest's name and version are the expected ones, and can name a folder
        EntryName,    ///< a name stays inside the plugin's folder and can be written on every system
        EntryClash,   ///< no two names are the same file, and none is a file and a folder
        EntryType,    ///< an entry is a file or a folder: no link, device or pipe; not encrypted; stored or deflated
        EntryRecord,  ///< an entry's local header belongs to it and lies in the archive, and no two entries overlap
        EntryContent, ///< an entry's bytes can be produced, in the size that is stated
        Size          ///< the unpacked size and the ratio of an entry stay within the limits
    };
    Rule rule = Readable;
    QString entry; // its name; empty when the package as a whole is meant.
    QString text;  // one sentence for people

    /// "entry: text", or the text alone.
    QString toString() const;
};

/**
 * Holds one plugin package against all rules before anything of it is written.
 *
 * A package with a finding is refused whole. CRC-32 is not looked at. Memory is bounded by the package's size and that
 * of its largest file, which the limits bound.
 */
class cPackageCheck
{
public:
    /// The limits of an installation stand in the machine-wide settings, see SettingsKey.
    struct Limits
    {
        qint64 unpackedSize = Q_INT64_C(2) << 30;        // bytes of the package, and of all its entries together
        int ratio = 200;                                 // unpacked to packed bytes of an entry ...
        static constexpr qint64 RatioFreeSize = 1 << 20; // ... that unpacks to more than this

        static Limits fromSettings();
    };

    explicit cPackageCheck(const Limits& limits = Limits::fromSettings()) : m_limits(limits) {}

    // What must hold beside the rules of every package; what is not called is not asked for.

    /// The manifest is that of the plugin @p id.
    void expect(const cPluginId& id) { m_expected = id; }
    /// SHA-1 as raw bytes; an empty one is not looked at.
    void expectHash(const QByteArray& hash) { m_hash = hash; }

    /// False when there is a finding. Nothing is written.
    [[nodiscard]] bool checkFile(const QString& path);
    [[nodiscard]] bool check(const QByteArray& package);

    /// Reads the file into @p package, to be unpacked from there, and checks it.
    [[nodiscard]] bool checkFile(const QString& path, cPackage& package);

    const QList<cPackageFinding>& findings() const { return m_findings; }

    /// Whether the system could not read the file; nothing is known of the package then.
    bool isUnread() const { return m_isUnread; }

    /// All findings in one line, the first ones only when they are many.
    QString summary() const;

    /// The plugin, as the manifest tells; valid when there is no finding.
    const cPluginId& id() const { return m_id; }

private:
    void begin();
    bool check(cPackage& package);
    void checkHash(const QByteArray& bytes);
    void checkNames(const cPackage& package);
    void checkType(const cZipRecord& record);
    void checkRecords(const cPackage& package);
    void checkSizes(const cPackage& package);
    void checkContents(const cPackage& package);
    void checkManifest(const cPackage& package);
    void readManifest(const QByteArray& xml);
    void checkIdentity();
    void checkStart(const QByteArray& xml);
    /// Always false.
    bool addFinding(cPackageFinding::Rule rule, const QString& entry, const QString& text);

    Limits m_limits;
    cPluginId m_expected;
    QByteArray m_hash;
    bool m_isUnread = false;
    cPluginId m_id;
    QList<cPackageFinding> m_findings;
};
