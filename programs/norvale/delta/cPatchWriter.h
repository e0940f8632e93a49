#pragma once

#include "delta/cDifference.h"
#include "delta/cPackageParts.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Writes a patch in the form that cRebuild reads. The same input gives the same bytes.
class cPatchWriter
{
public:
    /// @param size of the package in bytes
    explicit cPatchWriter(qint64 size) { number(quint64(size)); }

    // In this order.

    void count(int oldFiles) { number(quint64(oldFiles)); }
    /// An old file with its path and what it holds.
    void oldFile(const QString& path, const QByteArray& content);
    void parts(const std::vector<cPackageParts::Part>& parts);

    /// @return the patch, with @p difference as its instructions.
    QByteArray finish(const cDifference& difference);

private:
    void number(quint64 number);

    QByteArray m_control;
};
