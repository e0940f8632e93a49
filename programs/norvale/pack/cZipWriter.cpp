#include "pack/cZipWriter.h"

#ifdef NORVALE_LIBZIP
#include <zip.h>

#include <limits>
#include <memory>
#endif

void cZipWriter::add(const QString& name, const QByteArray& bytes, Method method, Kind kind)
{
    m_entries.append({name.toLatin1(), bytes, method, kind});
}

#ifdef NORVALE_LIBZIP

namespace {

struct Discard
{
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct Free
{
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Source = std::unique_ptr<zip_source_t, Free>;

constexpr zip_uint16_t FirstDate = (1 << 5) | 1;  // 1980-01-01, the first that the format knows
constexpr zip_uint32_t DataMode = 0100644u << 16; // as Unix keeps it
constexpr zip_uint32_t ProgramMode = 0100755u << 16;
constexpr int BestCompression = 9;

QByteArray readAll(zip_source_t* source)
{
    zip_stat_t stat;
    if (zip_source_stat(source, &stat) < 0 || stat.size > zip_uint64_t(std::numeric_limits<int>::max()) ||
        zip_source_open(source) < 0)
        return QByteArray();
    QByteArray bytes(int(stat.size), Qt::Uninitialized);
    const bool isWhole = zip_source_read(source, bytes.data(), stat.size) == zip_int64_t(stat.size);
    zip_source_close(source);
    return isWhole ? bytes : QByteArray();
}

bool addEntry(zip_t* archive, const QByteArray& name, const QByteArray& bytes, zip_int32_t method, zip_uint32_t mode)
{
    Source source(zip_source_buffer(archive, bytes.constData(), zip_uint64_t(bytes.size()), 0));
    const zip_int64_t place = source ? zip_file_add(archive, name.constData(), source.get(), ZIP_FL_ENC_UTF_8) : -1;
    if (place < 0)
        return false;
    source.release(); // the archive's now
    const auto index = zip_uint64_t(place);
    return zip_set_file_compression(archive, index, method, BestCompression) == 0 &&
           zip_file_set_dostime(archive, index, 0, FirstDate, 0) == 0 &&
           zip_file_set_external_attributes(archive, index, 0, ZIP_OPSYS_UNIX, mode) == 0;
}

} // namespace

QByteArray cZipWriter::write()
{
    zip_error_t error;
    zip_error_init(&error);
    const Source target(zip_source_buffer_create(nullptr, 0, 0, &error));
    Archive archive(target ? zip_open_from_source(target.get(), ZIP_TRUNCATE, &error) : nullptr);
    if (!archive) {
        m_errorString = QString::fromUtf8(zip_error_strerror(&error));
        return QByteArray();
    }
    zip_source_keep(target.get()); // the archive frees one reference, and the bytes are read after it
    bool isGood = true;
    for (const Entry& entry : qAsConst(m_entries)) {
        isGood = isGood && addEntry(archive.get(), entry.name, entry.bytes,
                                    entry.method == Method::Deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE,
                                    entry.kind == Kind::Program ? ProgramMode : DataMode);
    }
    if (!isGood || zip_close(archive.get()) < 0) {
        m_errorString = QString::fromUtf8(zip_strerror(archive.get()));
        return QByteArray();
    }
    archive.release(); // closed is freed
    const QByteArray whole = readAll(target.get());
    if (whole.isEmpty())
        m_errorString = QStringLiteral("the archive is too large");
    return whole;
}

#else

QByteArray cZipWriter::write()
{
    m_errorString = QStringLiteral("this build of the program cannot write archives");
    return QByteArray();
}

#endif
