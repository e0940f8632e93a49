#pragma once

#include "guard/cGuardSlot.h"
#include "version/cCodeImage.h"

#include <atomic>

/**
 * Where the libraries of plugins lie in memory, so that a crash is named by the code that it happened in.
 *
 * The main thread adds and removes; any thread and a signal handler may ask, since nothing that was added is ever
 * freed.
 */
class cPluginImages
{
public:
    constexpr cPluginImages() = default;

    /// The libraries of the process.
    static cPluginImages& instance();

    /// The library of the plugin @p id ("Name-1.02.003") is loaded.
    void add(const QString& id, const cCodeImage& image);

    /// The library of the plugin @p id is unloaded.
    void remove(const QString& id);

    /// The id of the plugin whose library @p address lies in, in UTF-8; null when it lies in none.
    const char* pluginAt(const void* address) const;

private:
    struct Entry
    {
        char plugin[cGuardSlot::NameSize] = {};
        cCodeImage image;
        std::atomic<bool> isLoaded{false};
        Entry* next = nullptr;
    };

    Entry* find(const QByteArray& plugin) const;

    std::atomic<Entry*> m_first{nullptr};
    int m_removed = 0; // entries that wait to be added anew
};
