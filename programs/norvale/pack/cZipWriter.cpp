#include "pack/cZipWriter.h"

void cZipWriter::add(const QString& name, const QByteArray& bytes, Method method, Kind kind)
{
    m_entries.append({name.toLatin1(), bytes, method, kind});
}
