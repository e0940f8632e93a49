#include "icons/cShellIcon_win.h"

#include <commoncontrols.h>
#include <shellapi.h>

#include <iterator>

namespace {

constexpr UINT IconSize = 48;

const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

} // namespace

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
    if (FAILED(
            desktop->ParseDisplayName(nullptr, nullptr, const_cast<wchar_t*>(wide(m_path)), nullptr, &item, nullptr)))
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
