#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtGui/QPixmap>

#include <windows.h>

#include <shlobj.h>

#include <commoncontrols.h>
#include <shellapi.h>

#include <iterator>

QT_BEGIN_NAMESPACE
Q_GUI_EXPORT QPixmap qt_pixmapFromWinHICON(HICON icon);
QT_END_NAMESPACE

namespace {

constexpr UINT IconSize = 48;

const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

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

HICON cShellIcon::load()
{
    if (!bindToParent() || !locate())
        return nullptr;
    const HICON icon = extract();
    return icon ? icon : fromSystemImageList();
}

bool cShellIcon::bindToParent()
{
    cComPtr<IShellFolder> desktop;
    if (FAILED(SHGetDesktopFolder(desktop.out())))
        return false;
    LPITEMIDLIST item = nullptr;
    wchar_t* const path = const_cast<wchar_t*>(wide(m_path));
    if (FAILED(desktop->ParseDisplayName(nullptr, nullptr, path, nullptr, &item, nullptr)))
        return false;
    LPCITEMIDLIST last = nullptr;
    const HRESULT binding = SHBindToParent(item, IID_IShellFolder, m_parent.outVoid(), &last);
    desktop.reset();
    const bool isBound = SUCCEEDED(binding) && SUCCEEDED(m_parent->GetUIObjectOf(nullptr, 1, &last, IID_IExtractIconW,
                                                                                 nullptr, m_extractor.outVoid()));
    CoTaskMemFree(item); // `last` points into it
    return isBound;
}

bool cShellIcon::locate()
{
    UINT flags = 0;
    return SUCCEEDED(m_extractor->GetIconLocation(0, m_iconFile, UINT(std::size(m_iconFile)), &m_iconIndex, &flags));
}

HICON cShellIcon::extract() const
{
    HICON icon = nullptr;
    // The size of the small icon, in the upper half, is 0: it is not wanted.
    const HRESULT result = m_extractor.get()->Extract(m_iconFile, UINT(m_iconIndex), &icon, nullptr, IconSize);
    return result == S_OK ? icon : nullptr;
}

HICON cShellIcon::fromSystemImageList() const
{
    SHFILEINFOW info = {};
    if (!SHGetFileInfoW(m_iconFile, 0, &info, sizeof(info), SHGFI_SYSICONINDEX))
        return nullptr;
    cComPtr<IImageList> images;
    if (FAILED(SHGetImageList(SHIL_EXTRALARGE, __uuidof(IImageList), images.outVoid())))
        return nullptr;
    HICON icon = nullptr;
    return SUCCEEDED(images->GetIcon(info.iIcon, ILD_TRANSPARENT, &icon)) ? icon : nullptr;
}

/// The picture of @p icon, which is destroyed; null for none.
QPixmap takePixmap(HICON icon)
{
    if (!icon)
        return QPixmap();
    const QPixmap pixmap = qt_pixmapFromWinHICON(icon);
    DestroyIcon(icon);
    return pixmap;
}

/// The first icon in the file itself. @return null also for 1, by which the system tells that the file has no icons.
HICON firstIconIn(const QString& nativePath)
{
    const HICON icon = ExtractIconW(GetModuleHandleW(nullptr), wide(nativePath), 0);
    return icon == reinterpret_cast<HICON>(1) ? nullptr : icon;
}

} // namespace

QPixmap Corvane::loadApplicationIcon(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return QPixmap();
    const QString nativePath = QDir::toNativeSeparators(file.absoluteFilePath());
    // Every call initialises COM on its thread, and none ends it: pool threads come back for the next icon.
    CoInitialize(nullptr);
    if (file.suffix().toLower() == QLatin1String("bin")) {
        if (const HICON icon = firstIconIn(nativePath))
            return takePixmap(icon);
    }
    return takePixmap(cShellIcon(nativePath).load());
}
