#include "install/UnpackedFlush.h"

#include "core/DurableFile.h"

#include <QtCore/QString>

bool flushUnpackedFile(QFileDevice& file)
{
    return flushFile(file);
}

bool flushUnpackedFolder(const QString& folder)
{
    return flushFolder(folder);
}
