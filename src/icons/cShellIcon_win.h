#pragma once

#include <QtCore/QString>

#include <windows.h>

#include <shlobj.h>

/// Holds a COM interface and releases it.
template <typename Interface>
class cComPtr
{
public:
    cComPtr() = default;
    cComPtr(const cComPtr&) = delete;
    cComPtr& operator=(const cComPtr&) = delete;
    ~cComPtr() { reset(); }

    Interface* operator->() const { return m_interface; }
    Interface* get() const { return m_interface; }
    /// Where a call puts the interface that it hands out; what was held is released.
    Interface** out()
    {
        reset();
        return &m_interface;
    }
    void** outVoid() { return reinterpret_cast<void**>(out()); }
    void reset()
    {
        if (m_interface)
            m_interface->Release();
        m_interface = nullptr;
    }

private:
    Interface* m_interface = nullptr;
};

/**
 * Asks the Windows shell for the icon of a file. COM must have been initialised on the calling thread. Each function is
 * a step that needs the one before it; an icon that is handed out must be destroyed with `DestroyIcon`.
 */
class cShellIcon
{
public:
    /// @p nativePath is absolute, with native separators.
    explicit cShellIcon(const QString& nativePath) : m_path(nativePath) {}

    /// The icon; null when the shell has none.
    HICON load();

private:
    bool bindToParent();
    bool locate();
    HICON extract() const;
    HICON fromSystemImageList() const;

    QString m_path;
    cComPtr<IShellFolder> m_parent;
    cComPtr<IExtractIconW> m_extractor;
    wchar_t m_iconFile[260] = {};
    int m_iconIndex = 0;
};
