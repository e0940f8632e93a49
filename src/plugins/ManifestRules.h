#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>

#include <functional>

class cXmlElement;

/**
 * The rules of Manifest.xml: which elements and attributes there are and where, what their texts have to be, and what
 * comes of others. The reader and `norvale lint` go by this table, and a test holds docs/schema/Manifest.xsd against
 * it.
 */
namespace ManifestRules {

/// The file in a plugin's folder, and in its package.
inline const QLatin1String FileName("Manifest.xml");

/// What comes of a text that is not what it has to be.
enum class Breach {
    Finding, ///< It is read all the same; only a check of the manifest tells of it.
    Start,   ///< No suite with the plugin starts.
    Reading  ///< Nor is the manifest read to its end.
};

/// What a text has to be.
struct cText
{
    const char* schemaType;
    bool (*isSound)(const QString& text); // null when every one is
    const char* reason; // why it is not sound: %1 is the name of the attribute or element, %2 the text, %3 the runtime
                        // API version
    Breach breach = Breach::Finding;
};

/// An attribute, or an element that may be repeated or of which the first is read.
struct cRule
{
    enum Kind { Attribute, Element, FirstElement };

    QStringView in;    // the tag of the element around it; the root has any tag, which is left empty here
    QStringView name;  // every tag stands for one kind of element
    const cText* text; // null for an element that has attributes or children only
    Kind kind = Element;
    QStringView absent = {}; // what counts where the attribute is not given; null where it has to be

    /// Why @p written is not what it has to be; empty when it is.
    QString reason(const QString& written) const;
};

extern const cRule Table[26];

/// Calls @p visit for every element below @p root that counts, in document order, parents before their children. What
/// is in a deployment for another platform does not count. @return false when @p visit did, which ends the walk.
using Visit = std::function<bool(const cRule& rule, const cXmlElement& element)>;
bool walk(const cXmlElement& root, const Visit& visit);

/// Is told of an attribute of @p element, or of the element itself, that no reader looks at, in words for people.
using Unread = std::function<void(const cXmlElement& element, bool isAttribute, const QString& text)>;

/// Calls @p tell for every name in the document that is not in the table, in document order; nothing below an unknown
/// element is looked at. Readers pass over these in silence, so that what is misspelt is found here or not at all.
void eachUnread(const cXmlElement& root, const Unread& tell);

/// The words for it: @p tag is that of the element around it, @p known the names that might be meant.
QString unreadText(const QString& name, bool isAttribute, const QString& tag, const QStringList& known);

/// Whether an attribute is for XML itself, so that it may stand anywhere: it declares or uses a name space.
bool isOfXml(QStringView attribute);

/// Why @p text is no version; empty when it is one to three numbers that cVersion reads as they stand, with the point
/// behind the first that it asks for: "1.", "1.2", "1.02.003".
QString versionReason(const QString& text);

/// Whether the text of a `dependency` names a plugin. Empty ones do not, nor do those that name parts of the core,
/// which are always there.
bool isPluginDependency(const QString& text);

} // namespace ManifestRules
