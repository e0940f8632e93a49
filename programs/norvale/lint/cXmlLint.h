#pragma once

#include "core/cXmlTree.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QByteArray;
class cFindings;
enum class Rule;

/// Which attributes, as "@name", and elements a document's reader looks at, by the path of the element that they stand
/// in: its tags below the root, joined with "/". Readers pass over everything else in silence, so that what is misspelt
/// is found here or not at all. Manifests go by ManifestRules instead.
using cGrammar = QHash<QString, QStringList>;

/// What the checks of all documents share: reading the tree, and reporting at an element. It refers to the findings
/// that it adds to.
class cXmlLint
{
public:
    /// @p file is what findings name.
    cXmlLint(const QString& file, cFindings& findings) : m_file(file), m_findings(findings) {}

protected:
    /// Reads @p xml into tree(). @return false when it is not well-formed.
    [[nodiscard]] bool readTree(const QByteArray& xml);

    /// The same, and holds it against @p grammar.
    [[nodiscard]] bool readTree(const QByteArray& xml, const cGrammar& grammar);

    /// Reports an attribute of @p element, or the element itself, that is not read.
    void reportUnread(const cXmlElement& element, bool isAttribute, const QString& text);

    const cXmlTree& tree() const { return m_tree; }
    const QString& file() const { return m_file; }
    cFindings& findings() { return m_findings; }

    void report(Rule rule, const cXmlElement& element, const QString& text);

    /// Reports @p rule unless the attribute @p name of @p element is a version.
    void checkVersion(Rule rule, const cXmlElement& element, QStringView name);

private:
    void checkNames(const cXmlElement& element, const QString& path, const cGrammar& grammar);

    QString m_file;
    cFindings& m_findings;
    cXmlTree m_tree;
};
