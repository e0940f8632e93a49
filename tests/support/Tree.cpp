#include "Tree.h"

#include <QtCore/QDirIterator>

#include <algorithm>
#include <iterator>

// Here as in all that several threads do with files, Qt's classes do it. What the language's own open, a process
// inherits that another thread starts meanwhile; as long as it lives, nobody can remove the file on Windows.
Tree treeOf(const QString& folder)
{
    Tree tree;
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (QDirIterator it(folder, all, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        const QString path = it.filePath().mid(folder.size() + 1);
        if (it.fileInfo().isDir())
            tree[path + QLatin1Char('/')];
        else
            tree[path] = file.open(QFile::ReadOnly) ? file.readAll() : file.errorString().toUtf8();
    }
    return tree;
}

Tree without(const Tree& tree, const Tree& other)
{
    Tree rest;
    std::set_difference(tree.begin(), tree.end(), other.begin(), other.end(), std::inserter(rest, rest.end()));
    return rest;
}

bool restoreTree(const QString& folder, const Tree& tree)
{
    const Tree is = treeOf(folder);
    const Tree extra = without(is, tree);
    bool isDone = true;
    for (auto entry = extra.rbegin(); entry != extra.rend(); ++entry) {
        const QString path = folder + QLatin1Char('/') + entry->first;
        isDone = (path.endsWith(QLatin1Char('/')) ? QDir().rmdir(path) : QFile::remove(path)) && isDone;
    }
    for (const auto& [path, content] : without(tree, is)) {
        QFile file(folder + QLatin1Char('/') + path);
        isDone =
            (path.endsWith(QLatin1Char('/')) ? QDir(folder).mkdir(path)
                                             : file.open(QFile::WriteOnly) && file.write(content) == content.size()) &&
            isDone;
    }
    return isDone;
}
