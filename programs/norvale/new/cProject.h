#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The files of a project to begin with, made of the templates in the folder templates/. Each set of templates is a
/// project that could be built as it stands; one word in it stands for the name.
class cProject
{
public:
    /// @p name takes the place of @p word, in the names of the files as well.
    cProject(const QString& word, const QString& name) : m_word(word), m_name(name) {}

    /// Takes in the templates of the set @p folder; a file of the same name replaces one of an earlier set.
    void add(const QString& folder);

    /// The paths of the files below the project's folder, in order.
    QStringList files() const { return m_files.keys(); }

    /// Writes all files below @p folder, which is made; it may be there and be empty.
    /// @return false when that failed: nothing is left of it, and @p error names the place and the cause.
    [[nodiscard]] bool write(const QString& folder, QString* error) const;

private:
    bool writeAside(const QString& folder, QString* error) const;

    QString m_word;
    QString m_name;
    QMap<QString, QByteArray> m_files; // text by path
};
