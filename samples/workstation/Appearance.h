#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

/// Contains the fonts and sizes for one DPI value. Sizes are in pixels.
class Appearance {
public:
    /// @param dpi  The DPI of a monitor, for example from dpiOf().
    explicit Appearance(unsigned dpi);

    HFONT font() const { return m_font.get(); }
    HFONT fixedFont() const { return m_fixedFont.get(); }     ///< monospaced
    int gap() const { return scaled(8); }                     ///< distance between controls
    int lineHeight() const { return m_line; }                 ///< height of a label
    int controlHeight() const { return m_line + scaled(6); }  ///< height of a check box
    int iconSize() const { return scaled(32); }

    /// Converts a length at 96 DPI to the DPI of this object.
    int scaled(int length) const { return ::MulDiv(length, static_cast<int>(m_dpi), 96); }

    /// Returns the width of a control's text on one line. The width excludes an "&" that marks a
    /// mnemonic.
    int textWidth(HWND control) const;

private:
    struct DeleteFont {
        void operator()(HFONT font) const { ::DeleteObject(font); }
    };

    using Font = std::unique_ptr<std::remove_pointer_t<HFONT>, DeleteFont>;

    unsigned m_dpi;
    Font m_font, m_fixedFont;
    int m_line = 0;
};

/// Returns the DPI of the monitor that shows the window. On a system without GetDpiForWindow,
/// returns the system DPI.
unsigned dpiOf(HWND window);
