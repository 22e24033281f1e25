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

/// The lower part of the program: the formats on the clipboard and the contents of the selected
/// one. It follows each change of the clipboard and never writes it.
class ClipboardPane : public Window {
public:
    explicit ClipboardPane(HWND parent);
    /// Waits a second for the reading that is under way, then leaves it behind.
    ~ClipboardPane() override;

    /// Writes everything anew, in the language that holds now.
    void refresh();
    /// Puts the controls in their places.
    void arrange(const Appearance& appearance);

private:
    /// The contents of a format, as a worker thread has read them.
    struct Contents {
        std::wstring text;
        bool isReadable = true;
        std::size_t linesLeftOut = 0;
        std::optional<ReadFailure> failure;
    };

    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void onNotification(NMHDR& notification);
    void listFormats();
    void beginReading();
    void giveUp();
    void endReading();
    void show(const Contents& contents);
    static Contents read(unsigned format);

    std::vector<unsigned> m_formats;
    unsigned m_selected = 0;
    unsigned m_chosen = 0;  // by the user, 0 for none
    std::unique_ptr<Background<Contents>> m_reading;
    bool m_isOutdated = false;  // another format or clipboard is due after the reading under way

    HWND m_label = nullptr, m_list = nullptr;
    HWND m_contentsLabel = nullptr, m_contents = nullptr;
};
