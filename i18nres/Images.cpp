#include <windows.h>

#include "i18nres/Manager.h"
#include "i18nres/Satellites.h"
#include "platform/CriticalSectionLock.h"
#include "platform/QuietErrorMode.h"

namespace i18nres {

HANDLE Manager::loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx, int cy,
                          unsigned flags) const {
    if (!name) return nullptr;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    ModuleRecord* const record = resolve(module, false);
    // With LR_LOADFROMFILE, LoadImageW reads a file, so the system could display an error message
    // box.
    const platform::QuietErrorMode quiet;
    return searchLibraries(record, [&](HINSTANCE library) {
        return ::LoadImageW(library, name, type, cx, cy, flags);
    });
}

HICON Manager::loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy,
                             unsigned flags) {
    return static_cast<HICON>(loadImage(module, name, IMAGE_ICON, cx, cy, flags));
}

HICON Manager::loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy,
                               unsigned flags) {
    return static_cast<HICON>(loadImage(module, name, IMAGE_CURSOR, cx, cy, flags));
}

HBITMAP Manager::loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                 unsigned flags) {
    return static_cast<HBITMAP>(loadImage(module, name, IMAGE_BITMAP, cx, cy, flags));
}

HMENU Manager::loadMenu(const wchar_t* module, const wchar_t* name) {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    ModuleRecord* const record = resolve(module, false);
    if (!record) return nullptr;
    // Compatibility: the module itself is not searched. Clients load their own menu if this method
    // returns null.
    for (HINSTANCE satellite : {record->hCultureLib, record->hDefaultLib}) {
        if (!satellite) continue;
        if (HMENU menu = ::LoadMenuW(satellite, name)) return menu;
    }
    return nullptr;
}

}  // namespace i18nres
