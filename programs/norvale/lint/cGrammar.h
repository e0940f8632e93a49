#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <initializer_list>

class cFindings;
class cXmlElement;

/**
 * Which elements and attributes a document's reader looks at, and where. Readers pass over everything else in silence,
 * so that what is misspelt is found here or not at all.
 */
class cGrammar
{
public:
    /// The element whose tags below the root are @p path, joined with "/", with its attributes and children, each list
    /// parted by blanks.
    struct Entry
    {
        const char* path;
        const char* attributes;
        const char* children;
    };

    cGrammar(std::initializer_list<Entry> entries);

    /// Reports what is not in the grammar; nothing below an unknown element is looked at.
    void check(const cXmlElement& root, const QString& file, cFindings& findings) const;

private:
    struct Known
    {
        QStringList attributes;
        QStringList children;
    };

    void check(const cXmlElement& element, const QString& path, const QString& file, cFindings& findings) const;

    QHash<QString, Known> m_known;
};
