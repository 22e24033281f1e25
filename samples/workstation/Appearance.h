#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

/// Fonts and sizes for one resolution of the screen, in pixels.
class Appearance {
public:
    /// @param dpi  Pixels per inch, as dpiOf() returns them.
    explicit Appearance(unsigned dpi);

    HFONT font() const { return m_font.get(); }
    HFONT fixedFont() const { return m_fixedFont.get(); }     ///< every character as wide as others
    int gap() const { return scaled(8); }                     ///< between controls
    int lineHeight() const { return m_line; }                 ///< of a label
    int controlHeight() const { return m_line + scaled(6); }  ///< of a check box
    int iconSize() const { return scaled(32); }

    /// A length that is given for 96 pixels per inch.
    int scaled(int length) const { return ::MulDiv(length, static_cast<int>(m_dpi), 96); }

    /// The width of a control's text on one line, its mnemonic's "&" not counted.
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

/// Pixels per inch of the monitor of a window; those of the whole screen on a system that does not
/// distinguish monitors.
unsigned dpiOf(HWND window);
