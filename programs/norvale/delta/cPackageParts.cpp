#include "delta/cPackageParts.h"

#include "install/cPackage.h"
#include "zip/ZipRecords.h"

#include <zlib.h>

#include <algorithm>

namespace {

/// What archivers use, the most frequent first: norvale pack, then zlib's default, then all others. With little memory
/// nobody makes archives.
std::vector<cPackageParts::Parameters> usualParameters()
{
    std::vector<cPackageParts::Parameters> usual{{9, 9, Z_DEFAULT_STRATEGY}, {6, 8, Z_DEFAULT_STRATEGY}};
    for (const int memoryLevel : {8, 9}) {
        for (int level = Z_BEST_COMPRESSION; level > 0; --level)
            usual.push_back({level, memoryLevel, Z_DEFAULT_STRATEGY});
    }
    return usual;
}

} // namespace

bool cPackageParts::read(const cPackage& package, qint64 limit)
{
    QVector<cZipRecord> records = package.records();
    std::sort(records.begin(), records.end(),
              [](const cZipRecord& a, const cZipRecord& b) { return a.localHeaderOffset < b.localHeaderOffset; });
    qint64 total = package.bytes().size();
    for (const cZipRecord& record : qAsConst(records))
        total += record.uncompressedSize;
    if (total > limit)
        return false;
    m_tried = usualParameters();
    qint64 done = 0; // bytes of the package that are in parts
    for (const cZipRecord& record : qAsConst(records)) {
        cPackage::Span span;
        QString error;
        if (record.method != cZipHeader::Deflated || !record.isListed() || !package.locate(record, &span, &error) ||
            span.data < done)
            continue;
        addPlain(package.bytes().mid(int(done), int(span.data - done)));
        done = span.data;
        if (addDeflated(package, record, span.data))
            done += record.compressedSize;
    }
    addPlain(package.bytes().mid(int(done)));
    return true;
}

bool cPackageParts::addDeflated(const cPackage& package, const cZipRecord& record, qint64 data)
{
    QByteArray content;
    QString error;
    if (!package.readContent(record, &content, &error))
        return false;
    const auto deflated = QByteArray::fromRawData(package.bytes().constData() + data, int(record.compressedSize));
    const std::optional<Parameters> parameters = find(content, deflated);
    if (!parameters)
        return false;
    m_parts.push_back({content.size(), parameters});
    m_contents += content;
    return true;
}

std::optional<cPackageParts::Parameters> cPackageParts::find(const QByteArray& content, const QByteArray& deflated)
{
    const auto found = std::find_if(m_tried.begin(), m_tried.end(),
                                    [&](const Parameters& parameters) { return makes(parameters, content, deflated); });
    if (found == m_tried.end())
        return std::nullopt;
    std::rotate(m_tried.begin(), found, found + 1);
    return m_tried.front();
}

// Given up at the first byte that differs.
bool cPackageParts::makes(const Parameters& parameters, const QByteArray& content, const QByteArray& deflated)
{
    qint64 made = 0;
    const auto compare = [&](const char* bytes, qint64 count) {
        const bool isSame =
            count <= deflated.size() - made && std::equal(bytes, bytes + count, deflated.constData() + made);
        made += count;
        return isSame;
    };
    return m_deflater.begin(parameters) && m_deflater.add(content.constData(), content.size(), compare) &&
           m_deflater.end(compare) && made == deflated.size();
}

void cPackageParts::addPlain(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
    if (m_parts.empty() || m_parts.back().parameters)
        m_parts.push_back({0, std::nullopt});
    m_parts.back().size += bytes.size();
    m_contents += bytes;
}
