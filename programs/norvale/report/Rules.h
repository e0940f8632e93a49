#pragma once

#include <QtCore/QString>

/// Whether a finding keeps something from working, or only points at what is probably not meant.
enum class Severity { Error, Warning };

// Every rule that files are held against: the constant, the name that reports carry (never changed once published),
// whether breaking it is an error, and what it says.
#define NORVALE_RULES(X)                                                                                               \
    X(FileUnreadable, "file-unreadable", Error, "a file that is named can be read")                                    \
    X(XmlMalformed, "xml-malformed", Error, "a document is well-formed XML within the reader's limits")                \
    X(XmlUnknownElement, "xml-unknown-element", Warning, "a document has only elements that are read")                 \
    X(XmlUnknownAttribute, "xml-unknown-attribute", Warning, "an element has only attributes that are read")           \
    X(ManifestNoPlugin, "manifest-no-plugin", Error, "a manifest has a plugin element")                                \
    X(ManifestUnreadable, "manifest-unreadable", Error, "the framework's reader takes the manifest")                   \
    X(ManifestBadName, "manifest-bad-name", Error, "a manifest's name is there and can name a folder on every system") \
    X(ManifestBadVersion, "manifest-bad-version", Error, "a manifest's version is there and is MAJOR.MINOR.BUILD")     \
    X(ManifestBadRuntimeApi, "manifest-bad-runtime-api", Error,                                                        \
      "runtime_api_version is the framework's, or no suite starts")                                                    \
    X(ManifestBadNumber, "manifest-bad-number", Warning, "api_version is a number")                                    \
    X(ManifestBadAutoload, "manifest-bad-autoload", Warning, "autoload is exactly true or false")                      \
    X(ManifestBadIsolated, "manifest-bad-isolated", Warning, "isolated is exactly true or false")                      \
    X(ManifestNoLibrary, "manifest-no-library", Warning, "a plugin names a library, or it cannot be loaded")           \
    X(ManifestBadLibrary, "manifest-bad-library", Error, "a library has a filename and a function")                    \
    X(ManifestLibraryMissing, "manifest-library-missing", Error, "the library lies beside the manifest")               \
    X(ManifestBadParams, "manifest-bad-params", Error, "params is a JSON document")                                    \
    X(ManifestLossyParams, "manifest-lossy-params", Warning, "params has no character above U+00FF but as \\u escape") \
    X(ManifestEmptyService, "manifest-empty-service", Error, "a service has a name")                                   \
    X(ManifestServiceTwice, "manifest-service-twice", Error, "a manifest declares a service once, or no suite starts") \
    X(ManifestBadDependency, "manifest-bad-dependency", Warning, "a dependency is NAME or NAME:NUMBER")                \
    X(ManifestOwnDependency, "manifest-own-dependency", Error, "a plugin does not depend on itself")                   \
    X(ManifestDependencyTwice, "manifest-dependency-twice", Warning, "a manifest names a dependency once")             \
    X(ManifestOtherPlatform, "manifest-other-platform", Warning, "a deployment is for the platform x64")               \
    X(ManifestSecondList, "manifest-second-list", Warning, "a deployment has one install and one uninstall list")      \
    X(ManifestNoProgram, "manifest-no-program", Error, "a command line has a program")                                 \
    X(ManifestBadVariable, "manifest-bad-variable", Warning, "a command line has only variables that are replaced")    \
    X(ManifestBadCondition, "manifest-bad-condition", Warning, "a condition can be evaluated, or it counts as false")  \
    X(FolderNoManifest, "folder-no-manifest", Error, "a plugin's folder holds Manifest.xml, spelt so")                 \
    X(FolderLink, "folder-link", Error, "a plugin's folder holds no links")                                            \
    X(FolderSpecial, "folder-special", Error, "a plugin's folder holds files and folders only")                        \
    X(FolderBadName, "folder-bad-name", Error, "names in a plugin's folder are plain ASCII and good on every system")  \
    X(FolderNameClash, "folder-name-clash", Error, "names in a plugin's folder differ in more than case")              \
    X(FolderEmptyFile, "folder-empty-file", Warning, "files are not empty: an installation leaves empty ones out")     \
    X(FolderIdentity, "folder-identity", Error, "an installed plugin's folder is named NAME-VERSION as its manifest")  \
    X(PackageReadable, "package-readable", Error, "a package is a zip archive with all of its records")                \
    X(PackageHash, "package-hash", Error, "a package has the SHA-1 hash that its repository names")                    \
    X(PackageManifest, "package-manifest", Error, "a package holds Manifest.xml with a plugin's name and version")     \
    X(PackageIdentity, "package-identity", Error, "a package holds the plugin that its catalogue names")               \
    X(PackageEntryName, "package-entry-name", Error, "an entry's name stays in the plugin's folder on every system")   \
    X(PackageEntryClash, "package-entry-clash", Error, "no two entries are the same file, or file and folder")         \
    X(PackageEntryType, "package-entry-type", Error, "an entry is a file or folder: no link, no encryption")           \
    X(PackageEntryRecord, "package-entry-record", Error, "an entry's records agree and overlap no other")              \
    X(PackageEntryContent, "package-entry-content", Error, "an entry's bytes come out in the size that is declared")   \
    X(PackageCrc, "package-crc", Warning, "an entry's bytes have the CRC-32 that the archive states")                  \
    X(PackageSize, "package-size", Error, "unpacked size and ratio stay within the limits of an installation")         \
    X(PackageName, "package-name", Error, "a package is named NAME-VERSION.zip as its manifest")                       \
    X(CatalogueNoFeatures, "catalogue-no-features", Warning, "a catalogue has features or a runtime")                  \
    X(CatalogueNoName, "catalogue-no-name", Error, "a repository has a name")                                          \
    X(CatalogueBadVersion, "catalogue-bad-version", Error, "versions of a catalogue's root are MAJOR.MINOR.BUILD")     \
    X(FeatureNoName, "feature-no-name", Error, "a feature has a name")                                                 \
    X(FeatureBadVersion, "feature-bad-version", Error, "a feature's version is MAJOR.MINOR.BUILD")                     \
    X(FeatureBadActive, "feature-bad-active", Warning, "active is exactly true or false")                              \
    X(FeatureTwice, "feature-twice", Warning, "a catalogue has a feature once")                                        \
    X(FeatureHidden, "feature-hidden", Error, "a catalogue has one version of a feature: the first hides the others")  \
    X(FeatureUnknownDependency, "feature-unknown-dependency", Error, "a repository holds what its features depend on") \
    X(NotesBadVersion, "notes-bad-version", Error, "notes are those of a version up to the feature's")                 \
    X(NotesTwice, "notes-twice", Warning, "a version has notes once in a language: the last count")                    \
    X(NotesEmpty, "notes-empty", Warning, "notes say something")                                                       \
    X(NotesTooLong, "notes-too-long", Warning, "notes have at most 4,000 characters: the rest is not shown")           \
    X(PluginBadName, "plugin-bad-name", Error, "a plugin's name can name a folder on every system")                    \
    X(PluginNameClash, "plugin-name-clash", Error, "names of plugins differ in more than case")                        \
    X(PluginBadVersion, "plugin-bad-version", Error, "a plugin's version is MAJOR.MINOR.BUILD")                        \
    X(PluginBadSize, "plugin-bad-size", Warning, "the size of a package is there and a number of bytes")               \
    X(PluginBadHash, "plugin-bad-hash", Error, "a package has a SHA-1 hash in 40 hexadecimal digits")                  \
    X(PluginBadDelta, "plugin-bad-delta", Warning,                                                                     \
      "a delta has an older version, size, hash and path, or is not read")                                             \
    X(PluginNoSource, "plugin-no-source", Error, "a package has a source, or lies beside its repository.xml")          \
    X(PluginTwoVersions, "plugin-two-versions", Error, "features share a plugin in one version only")                  \
    X(RuntimeBadName, "runtime-bad-name", Error, "a runtime's name can name a file on every system")                   \
    X(RuntimeBadVersion, "runtime-bad-version", Error, "a runtime's version is MAJOR.MINOR.BUILD")                     \
    X(RuntimeBadHash, "runtime-bad-hash", Error, "a runtime has a SHA-1 hash in 40 hexadecimal digits")                \
    X(RuntimeNoSource, "runtime-no-source", Error, "a runtime has a source")                                           \
    X(SuiteNoFeatures, "suite-no-features", Error, "a folder of installed plugins has features.xml")                   \
    X(SuiteNoCore, "suite-no-core", Error, "the feature \"Core\" is installed, or the suite does not start")           \
    X(SuitePluginMissing, "suite-plugin-missing", Error, "an installed plugin has its folder with a manifest")         \
    X(SuiteDependencyMissing, "suite-dependency-missing", Error, "the plugins that a plugin depends on are there")     \
    X(SuiteDependencyOutside, "suite-dependency-outside", Warning,                                                     \
      "a plugin depends on plugins of its feature and of the features that this one depends on")                       \
    X(SuiteDependencyCycle, "suite-dependency-cycle", Error, "plugins do not depend on each other in a circle")        \
    X(SuiteServiceTwice, "suite-service-twice", Error, "a service belongs to one plugin")                              \
    X(SuiteQtMixed, "suite-qt-mixed", Warning, "the plugins of a suite are built with one major version of Qt")        \
    X(SiteNoEntries, "site-no-entries", Warning, "a site names repositories")                                          \
    X(SiteOtherBuild, "site-other-build", Error, "an entry is for config release and platform x64: no other is read")  \
    X(SiteNoUpdate, "site-no-update", Error, "an entry says which repository (update) and status it is for")           \
    X(SiteEntryTwice, "site-entry-twice", Warning, "a site names a repository once")                                   \
    X(SiteNoRepository, "site-no-repository", Error, "an entry's repository.xml can be fetched")                       \
    X(SiteOtherName, "site-other-name", Warning, "a repository carries the name that the site gives it")               \
    X(SourceUnreachable, "source-unreachable", Error, "one source of each package and runtime can be fetched")         \
    X(SourceDead, "source-dead", Warning, "every source and patch can be fetched")                                     \
    X(SourceSize, "source-size", Error, "a package or patch has the size that its repository names")                   \
    X(SourceHash, "source-hash", Error, "a runtime or patch has the hash that its repository names")                   \
    X(DeltaRebuild, "delta-rebuild", Error, "a patch makes its package from the version that it is for")               \
    X(SiteUnsigned, "site-unsigned", Warning, "what a signed site offers has been signed")                             \
    X(TrustRefused, "trust-refused", Error, "who trusts the first root of a signed site takes its metadata")           \
    X(TrustTarget, "trust-target", Error, "a file has the length and the hashes that are signed")                      \
    X(TrustExpiry, "trust-expiry", Warning, "what is signed is renewed before it expires")

/// The rules; name, severity and meaning come from the list above.
enum class Rule {
#define X(constant, name, severity, meaning) constant,
    NORVALE_RULES(X)
#undef X
};

namespace Rules {

QString name(Rule rule);
Severity severity(Rule rule);

/// "error" or "warning".
QString word(Severity severity);

/// A line for each rule: name, severity, meaning.
QStringList table();

} // namespace Rules
