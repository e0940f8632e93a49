#pragma once

#include "Files.h"

#include <QtCore/QRegularExpression>

/// Writes the folder of the plugin @p id below the installation @p root, with a copy of @p library where there is one.
/// Its manifest is what @p words say: `auto`, `isolated`, `in:CATEGORY`, `needs:PLUGIN`, `gives:SERVICE`,
/// `enters:FUNCTION` for another one than "create", and at the end the parameters, `{...}`; or @p words themselves,
/// which then begin with "<". @return the folder.
inline QString writePlugin(const QString& root, const QString& id, const QString& words, const QString& library)
{
    const QString folder = root + "/plugins/" + id + '/';
    const auto valueOf = [&](const QString& key, const QString& absent) {
        const auto match = QRegularExpression("\\b" + key + ":(\\S+)").match(words);
        return match.hasMatch() ? match.captured(1) : absent;
    };
    const auto has = [&](const char* word) {
        return words.contains(QRegularExpression(QString("\\b%1\\b").arg(word))) ? "true" : "false";
    };
    const QString params = words.contains('{') ? "<params>" + words.mid(words.indexOf('{')) + "</params>" : "";
    const QString start = "<start><library filename='%1' function='%2'/>%3</start>";
    QString manifest = words;
    if (!words.startsWith('<'))
        manifest = QString("<m><plugin runtime_api_version='13' autoload='%1' isolated='%2' load_category='%3'>")
                       .arg(has("auto"), has("isolated"), valueOf("in", "")) +
                   words.section('{', 0, 0) +
                   (library.isEmpty()
                        ? ""
                        : start.arg(QFileInfo(library).completeBaseName(), valueOf("enters", "create"), params)) +
                   "</plugin></m>";
    manifest.replace(QRegularExpression("\\bneeds:([^\\s<]+)"),
                     "<dependencies><dependency>\\1</dependency></dependencies>");
    manifest.replace(QRegularExpression("\\bgives:([^\\s<]+)"), "<services><service>\\1</service></services>");
    writeFile(folder + "Manifest.xml", manifest.toUtf8());
    if (!library.isEmpty())
        QFile::copy(library, folder + QFileInfo(library).fileName());
    return folder;
}
