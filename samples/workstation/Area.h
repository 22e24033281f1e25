#pragma once

#include <windows.h>

#include <algorithm>

/// A rectangle that a layout divides among controls. Each cut function removes the rectangle for a
/// control, and a gap, from one side.
class Area {
public:
    Area(const RECT& area, int gap) : m_area(area), m_gap(gap) {}

    /// Returns the remaining rectangle.
    const RECT& remaining() const { return m_area; }
    int width() const { return static_cast<int>(m_area.right - m_area.left); }
    int height() const { return static_cast<int>(m_area.bottom - m_area.top); }

    void shrink(int margin) {
        ::InflateRect(&m_area, -margin, -margin);
        clampSize();
    }

    RECT cutTop(int height) {
        RECT cut = m_area;
        cut.bottom = std::min(cut.top + height, m_area.bottom);
        m_area.top = cut.bottom + m_gap;
        clampSize();
        return cut;
    }
    RECT cutBottom(int height) {
        RECT cut = m_area;
        cut.top = std::max(cut.bottom - height, m_area.top);
        m_area.bottom = cut.top - m_gap;
        clampSize();
        return cut;
    }
    RECT cutLeft(int width) {
        RECT cut = m_area;
        cut.right = std::min(cut.left + width, m_area.right);
        m_area.left = cut.right + m_gap;
        clampSize();
        return cut;
    }

private:
    /// Sets a negative width or height to 0. Negative values occur if the window is too small for
    /// the controls.
    void clampSize() {
        m_area.right = std::max(m_area.right, m_area.left);
        m_area.bottom = std::max(m_area.bottom, m_area.top);
    }

    RECT m_area;
    int m_gap;
};
