#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <map>

/// Path below a folder and content; folders end in "/" and have none.
using Tree = std::map<QString, QByteArray>;

/// All that is below @p folder.
Tree treeOf(const QString& folder);

/// What of @p tree is not in @p other, or has another content there.
Tree without(const Tree& tree, const Tree& other);

/// Makes @p folder what @p tree says; what is so already is left as it is. @return false when it cannot be done.
bool restoreTree(const QString& folder, const Tree& tree);
