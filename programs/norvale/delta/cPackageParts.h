#pragma once

#include "delta/cPartDeflater.h"

#include <QtCore/QByteArray>

#include <optional>
#include <vector>

class cPackage;
struct cZipRecord;

/**
 * A package as parts that can be made again, and whose contents are alike from version to version: the archive's own
 * records as they are, and of each deflated file its content, with what zlib is to be told to deflate it to the same
 * bytes. A file that nothing deflates so is left as it is.
 */
class cPackageParts
{
public:
    using Parameters = cPartDeflater::Parameters;

    struct Part
    {
        qint64 size;                          // of its content
        std::optional<Parameters> parameters; // of one that is deflated
    };

    /// Takes @p package apart, which has been checked. @return false when its contents are more than @p limit bytes.
    [[nodiscard]] bool read(const cPackage& package, qint64 limit);

    const std::vector<Part>& parts() const { return m_parts; }

    /// Of all parts, one after the other.
    const QByteArray& contents() const { return m_contents; }

private:
    bool addDeflated(const cPackage& package, const cZipRecord& record, qint64 data);
    std::optional<Parameters> find(const QByteArray& content, const QByteArray& deflated);
    bool makes(const Parameters& parameters, const QByteArray& content, const QByteArray& deflated);
    void addPlain(const QByteArray& bytes);

    std::vector<Part> m_parts;
    QByteArray m_contents;
    cPartDeflater m_deflater;
    std::vector<Parameters> m_tried; // those that made a file before come first
};
