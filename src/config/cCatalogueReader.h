#pragma once

#include "config/cFeatureCatalogue.h"
#include "core/cXmlTree.h"
#include "version/FlatMap.h"

#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

#include <vector>

/**
 * Reads catalogue documents (`features.xml`, `repository.xml`) into a feature catalogue. What is read is added to the
 * features and runtimes that the catalogue already holds; a feature or plugin that comes twice is one with the union of
 * its parts.
 */
class cCatalogueReader : private cXmlHandler
{
public:
    /// @p location goes into every source read; null for a document from the local disk.
    explicit cCatalogueReader(cFeatureCatalogue& catalogue,
                              const QSharedPointer<cUpdateLocation>& location = QSharedPointer<cUpdateLocation>());

    /// False only when the bytes are not well-formed or nested too deeply; errorString() then says where and why, and
    /// the catalogue is as it was. Otherwise true, however much of the content was usable.
    [[nodiscard]] bool read(const QByteArray& xml);

    /// "line L, column C: message" of the last failure.
    QString errorString() const { return m_errorString; }

    /// "line L, column C: ..." of the root when the last document was no catalogue by all signs: the root has another
    /// name, elements in it, and no feature and runtime among them. Empty otherwise: the name alone is not held against
    /// it.
    QString foreignRoot() const { return m_hasOthers && !m_hasEntries ? m_foreignRoot : QString(); }

private:
    /// What an element is by its tag and its parent.
    enum class Place {
        Document,
        Root,
        Feature,
        DisplayName,
        Dependencies,
        Dependency,
        Plugins,
        Plugin,
        Source,
        Hash,
        Runtime,
        RuntimeSource,
        RuntimeHash,
        Notes,
        Delta,
        Unknown
    };
    static Place placeOf(Place parent, QStringView tag);

    void beginDocument() override;
    void beginElement(QStringView tag, const QXmlStreamAttributes& attributes, int line, int column) override;
    void addCharacters(QStringView text) override;
    void endElement() override;

    cVersion versionOf(const QXmlStreamAttributes& attributes, QStringView name = u"version");
    QString sharedLanguage(const QXmlStreamAttributes& attributes);
    QStringView text() const { return QStringView(m_text.constData(), m_text.size()); }
    void beginRoot(const QXmlStreamAttributes& attributes);
    void noteRoot(QStringView tag, int line, int column);
    void beginFeature(const QXmlStreamAttributes& attributes);
    void beginPlugin(const QXmlStreamAttributes& attributes);
    void beginDelta(const QXmlStreamAttributes& attributes);
    void endDelta();
    void beginRuntime(const QXmlStreamAttributes& attributes);

    cFeatureCatalogue& m_catalogue;
    const cFeatureCatalogue m_before;
    QSharedPointer<cUpdateLocation> m_location;
    QString m_repository;
    FlatSet<QString> m_languages;          // each text is kept once
    std::vector<Place> m_open;             // from the document to the element that was begun last
    cFeatureInstance* m_feature = nullptr; // that was begun last, as are the others
    cFeaturePlugin* m_plugin = nullptr;
    cFeatureDelta m_delta;
    cRuntimeEntry m_runtime;
    bool m_hasRuntimeHash = false;
    bool m_hasRuntimeSource = false;
    QString m_language;
    cVersion m_noteVersion;
    QVarLengthArray<char16_t, 128> m_text; // of the display name, source, hash or delta
    QString m_version;
    QString m_errorString;
    QString m_foreignRoot; // what foreignRoot() says, should no entry come; empty when the root is named as ours
    bool m_hasEntries = false;
    bool m_hasOthers = false;
};
