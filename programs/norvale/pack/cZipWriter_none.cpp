#include "pack/cZipWriter.h"

QByteArray cZipWriter::write()
{
    m_errorString = QStringLiteral("this build of the program cannot write archives");
    return QByteArray();
}
