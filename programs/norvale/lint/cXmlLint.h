#pragma once

#include "core/cXmlTree.h"

#include <QtCore/QString>

class QByteArray;
class cFindings;
class cGrammar;
enum class Rule;

/// What the checks of all documents share: reading the tree, and reporting at an element. It refers to the findings
/// that it adds to.
class cXmlLint
{
public:
    /// @p file is what findings name.
    cXmlLint(const QString& file, cFindings& findings) : m_file(file), m_findings(findings) {}

protected:
    /// Reads @p xml into tree(), and holds it against @p grammar. @return false when it is not well-formed.
    [[nodiscard]] bool readTree(const QByteArray& xml, const cGrammar& grammar);

    const cXmlTree& tree() const { return m_tree; }
    const QString& file() const { return m_file; }
    cFindings& findings() { return m_findings; }

    void report(Rule rule, const cXmlElement& element, const QString& text);

    /// Reports @p rule unless the attribute @p name of @p element is a version.
    void checkVersion(Rule rule, const cXmlElement& element, QStringView name);

private:
    QString m_file;
    cFindings& m_findings;
    cXmlTree m_tree;
};
