#pragma once

#include <QtCore/QLibrary>
#include <QtCore/QString>

#ifdef Q_OS_WIN
using cPluginLibrary = QLibrary;
#else

/**
 * The library of a plugin: as much of QLibrary as is needed, with its texts. It loads the file that it is told and no
 * other. QLibrary would look in a folder "haswell" beside it first, and each look goes through the names of all
 * libraries that are loaded: of a large suite that takes a twelfth of the start.
 */
class cPluginLibrary
{
public:
    /// @p path is absolute.
    void setFileName(const QString& path) { m_path = path; }
    const QString& fileName() const { return m_path; }

    /// Loads it with all symbols that it needs, so that a missing one is found out now and not in the middle of a call.
    [[nodiscard]] bool load();

    /// False when it is not loaded.
    bool unload();
    bool isLoaded() const { return m_handle != nullptr; }

    /// Null when it has no such symbol, or is not loaded.
    QFunctionPointer resolve(const char* symbol) const;

    /// Why the last load() or unload() failed.
    const QString& errorString() const { return m_errorString; }

private:
    QString m_path;
    QString m_errorString;
    void* m_handle = nullptr; // not given up by this object
};

#endif
