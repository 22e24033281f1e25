#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "samples/clipboard_view/Background.h"
#include "samples/clipboard_view/ClipboardReader.h"
#include "samples/workstation/Appearance.h"
#include "samples/workstation/Window.h"

/// The lower pane of the program. It shows the formats on the clipboard and the contents of the
/// selected format. It is updated when the clipboard changes. It never changes the clipboard.
class ClipboardPane : public Window {
public:
    explicit ClipboardPane(HWND parent);
    /// Waits at most one second for the current read to end. A read that has not ended continues on
    /// its own thread.
    ~ClipboardPane() override;

    /// Reloads all strings in the current language.
    void refresh();
    /// Sets the positions of the controls.
    void arrange(const Appearance& appearance);

private:
    /// The result of reading data on a background thread.
    struct Contents {
        std::wstring text;
        bool isReadable = true;
        std::size_t omittedLines = 0;
        std::optional<ReadFailure> failure;
    };

    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void onNotification(NMHDR& notification);
    void listFormats();
    void beginReading();
    void showTimeout();
    void endReading();
    void show(const Contents& contents);
    static Contents read(unsigned format);

    std::vector<unsigned> m_formats;
    unsigned m_selected = 0;
    unsigned m_userSelected = 0;  // the format that the user selected, or 0
    std::unique_ptr<Background<Contents>> m_reading;
    bool m_isOutdated = false;  // true if another read must follow the current one

    HWND m_label = nullptr, m_list = nullptr;
    HWND m_contentsLabel = nullptr, m_contents = nullptr;
};
