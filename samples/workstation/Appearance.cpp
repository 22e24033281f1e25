#include "samples/workstation/Appearance.h"

#include <iterator>

namespace {

/// Owns a device context for the screen.
class ScreenContext {
public:
    ScreenContext() : m_context(::GetDC(nullptr)) {}
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;
    ~ScreenContext() { ::ReleaseDC(nullptr, m_context); }

    HDC get() const { return m_context; }

private:
    HDC m_context;
};

unsigned screenDpi() {
    return static_cast<unsigned>(::GetDeviceCaps(ScreenContext().get(), LOGPIXELSY));
}

/// Returns the width and height of a string in pixels. The width excludes an "&" that marks a
/// mnemonic.
SIZE extentOf(HFONT font, const wchar_t* text) {
    const ScreenContext context;
    const HGDIOBJ before = ::SelectObject(context.get(), font);
    RECT area{};
    ::DrawTextW(context.get(), text, -1, &area, DT_CALCRECT | DT_SINGLELINE);
    ::SelectObject(context.get(), before);
    return {area.right, area.bottom};
}

}  // namespace

Appearance::Appearance(unsigned dpi) : m_dpi(dpi) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    // The system returns the font height for the system DPI. Scale it to `dpi`.
    LOGFONTW& font = metrics.lfMessageFont;
    font.lfHeight = ::MulDiv(font.lfHeight, static_cast<int>(dpi), static_cast<int>(screenDpi()));
    m_font.reset(::CreateFontIndirectW(&font));
    font.lfPitchAndFamily = FIXED_PITCH | FF_MODERN;
    ::lstrcpynW(font.lfFaceName, L"Courier New", LF_FACESIZE);
    m_fixedFont.reset(::CreateFontIndirectW(&font));
    m_line = extentOf(m_font.get(), L"Ag").cy + scaled(2);
}

int Appearance::textWidth(HWND control) const {
    wchar_t text[512] = L"";
    ::GetWindowTextW(control, text, static_cast<int>(std::size(text)));
    return extentOf(m_font.get(), text).cx + scaled(2);
}

unsigned dpiOf(HWND window) {
    // GetDpiForWindow is available only in Windows 10 and later.
    using GetDpiForWindow = UINT(WINAPI*)(HWND);
    const auto getDpiForWindow = reinterpret_cast<GetDpiForWindow>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
    const unsigned dpi = getDpiForWindow ? getDpiForWindow(window) : 0;
    return dpi ? dpi : screenDpi();
}
