#include "log/DebuggerOutput.h"

#include <QtCore/QString>

#include <cstdio>

void writeDebuggerLine(const QString& line)
{
    QByteArray bytes = line.toUtf8();
    if (!bytes.endsWith('\n'))
        bytes.append('\n');
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}
