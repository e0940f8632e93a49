#include "install/cEntryNames.h"

#include "version/SafeName.h"

#include <QtCore/QStringList>

QString cEntryNames::fault(const QString& name)
{
    if (name.size() > MaxLength)
        return QStringLiteral("its name is longer than %1 characters").arg(MaxLength);
    const QString path = name.endsWith(QLatin1Char('/')) ? name.chopped(1) : name;
    const QStringList steps = path.split(QLatin1Char('/'));
    if (steps.size() > MaxDepth)
        return QStringLiteral("its name leads through more than %1 folders").arg(MaxDepth);
    for (const QString& step : steps) {
        if (!isSafeFileName(step))
            return QStringLiteral("\"%1\" in its name is no file name, or leads out of the folder").arg(step);
    }
    return QString();
}

QString cEntryNames::add(const QString& name)
{
    const bool isFolder = name.endsWith(QLatin1Char('/'));
    QString path = isFolder ? name.chopped(1) : name;
    bool isNew = true;
    QString clash = addStep(path, isFolder, false, &isNew);
    // Upwards, until a folder is met whose own way is known.
    for (int slash = path.lastIndexOf(QLatin1Char('/')); slash > 0 && isNew && clash.isEmpty();
         slash = path.lastIndexOf(QLatin1Char('/'))) {
        path.truncate(slash);
        clash = addStep(path, true, true, &isNew);
    }
    return clash;
}

QString cEntryNames::addStep(const QString& path, bool isFolder, bool isWay, bool* isNew)
{
    const QString key = caselessFileName(path);
    const auto known = m_known.constFind(key);
    *isNew = known == m_known.constEnd();
    if (*isNew) {
        m_known.insert(key, {path, isFolder});
        return QString();
    }
    if (known->isFolder != isFolder)
        return QStringLiteral("\"%1\" is a file and a folder").arg(path);
    if (known->spelling != path)
        return QStringLiteral("its name differs from \"%1\" only in upper and lower case").arg(known->spelling);
    if (!isFolder && !isWay)
        return QStringLiteral("its name stands twice in the package");
    return QString();
}
