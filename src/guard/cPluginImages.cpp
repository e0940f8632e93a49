#include "guard/cPluginImages.h"

namespace {
cPluginImages s_images; // constant from the start, and never destroyed: a crash may come at any time
}

cPluginImages& cPluginImages::instance()
{
    return s_images;
}

void cPluginImages::add(const QString& id, const cCodeImage& image)
{
    const QByteArray plugin = id.toUtf8();
    Entry* entry = m_removed > 0 ? find(plugin) : nullptr; // a large suite need not search for what is new
    const bool isNew = !entry || entry->isLoaded.load(std::memory_order_relaxed);
    if (isNew) {
        entry = new Entry;
        qstrncpy(entry->plugin, plugin.constData(), sizeof entry->plugin);
        entry->next = m_first.load(std::memory_order_relaxed);
    }
    m_removed -= isNew ? 0 : 1;
    entry->image = image;
    entry->isLoaded.store(true, std::memory_order_release);
    if (isNew)
        m_first.store(entry, std::memory_order_release);
}

void cPluginImages::remove(const QString& id)
{
    Entry* const entry = find(id.toUtf8());
    if (entry && entry->isLoaded.exchange(false, std::memory_order_release))
        ++m_removed;
}

const char* cPluginImages::pluginAt(const void* address) const
{
    for (const Entry* entry = m_first.load(std::memory_order_acquire); entry; entry = entry->next) {
        if (entry->isLoaded.load(std::memory_order_acquire) && entry->image.contains(address))
            return entry->plugin;
    }
    return nullptr;
}

cPluginImages::Entry* cPluginImages::find(const QByteArray& plugin) const
{
    for (Entry* entry = m_first.load(std::memory_order_relaxed); entry; entry = entry->next) {
        if (plugin == entry->plugin)
            return entry;
    }
    return nullptr;
}
