#include "log/LineText.h"

#include <cstdio>

const char* LineText::end()
{
    return "\n";
}

void writeDebuggerLine(const QString& line)
{
    QByteArray bytes = line.toUtf8();
    if (!bytes.endsWith('\n'))
        bytes.append('\n');
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}
