#pragma once

#include <QtCore/QFile>

/// Appends a line to the file that the test names, so that it sees what happened in the host in which order.
inline void note(const QByteArray& line)
{
    QFile file(QFile::decodeName(qgetenv("VCORE_TEST_JOURNAL")));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line + '\n');
}
