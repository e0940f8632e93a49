#pragma once

#include "plugins/cCmdLine.h"

#include <Norvale/cJsonValue.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * What a plugin's manifest says, with the defaults of what it leaves out.
 */
struct cManifest
{
    qint32 apiVersion = 0;
    qint32 runtimeApiVersion = 0;
    bool autoload = false;
    QString loadCategory;
    QString libraryPath; ///< Folder, "/" and the file name without suffix; null when no library is declared.
    QString entryFunction;
    cJsonValue params;
    QStringList dependencies;
    QStringList services;
    QList<cCmdLine> installCommandLines;
    QList<cCmdLine> uninstallCommandLines;
};
