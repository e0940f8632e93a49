#include "version/cCodeImage.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <dlfcn.h>
#include <link.h>

namespace {

struct Search
{
    ElfW(Addr) address; // that is looked for
    ElfW(Addr) begin = 0;
    ElfW(Addr) end = 0;
    QByteArray path{}; // empty for the program
};

#ifdef DLFO_EH_SEGMENT_TYPE // of glibc, from 2.35 on

/// The system keeps the images sorted.
bool find(Search& search)
{
    dl_find_object image;
    if (_dl_find_object(reinterpret_cast<void*>(search.address), &image) != 0)
        return false;
    search.begin = reinterpret_cast<ElfW(Addr)>(image.dlfo_map_start);
    search.end = reinterpret_cast<ElfW(Addr)>(image.dlfo_map_end);
    search.path = image.dlfo_link_map->l_name;
    return true;
}

#else

int look(dl_phdr_info* image, size_t, void* data)
{
    Search& search = *static_cast<Search*>(data);
    Search range{search.address};
    bool isFound = false;
    for (int i = 0; i < image->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = image->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD)
            continue;
        const ElfW(Addr) begin = image->dlpi_addr + segment.p_vaddr, end = begin + segment.p_memsz;
        range.begin = range.end == 0 ? begin : qMin(range.begin, begin);
        range.end = qMax(range.end, end);
        isFound = isFound || (begin <= search.address && search.address < end);
    }
    if (!isFound)
        return 0;
    range.path = image->dlpi_name;
    search = range;
    return 1;
}

bool find(Search& search)
{
    return dl_iterate_phdr(look, &search);
}

#endif

} // namespace

cCodeImage cCodeImage::around(const void* address)
{
    Search search{reinterpret_cast<ElfW(Addr)>(address)};
    if (!find(search))
        return cCodeImage();
    return {reinterpret_cast<const void*>(search.begin), reinterpret_cast<const void*>(search.end), search.path};
}

QString cCodeImage::path() const
{
    const bool isProgram = m_begin && m_file.isEmpty();
    return isProgram ? QCoreApplication::applicationFilePath() : QFile::decodeName(m_file);
}
