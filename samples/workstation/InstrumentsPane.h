#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <memory>
#include <vector>

#include "samples/workstation/Appearance.h"
#include "samples/workstation/DragDrop.h"
#include "samples/workstation/Instrument.h"
#include "samples/workstation/Window.h"

/// The right pane of the program: a list of instruments. The user can drag instruments from the
/// list and drop instruments on it.
class InstrumentsPane : public Window {
public:
    explicit InstrumentsPane(HWND parent);

    std::function<void()> onChange;  ///< called when the instruments or the selection change
    std::function<void(const ATL::CComPtr<IDataObject>&)> onDrop;  ///< receives a snapshot()

    const Instruments& instruments() const { return m_instruments; }
    Instruments selected() const;
    int selectedCount() const;
    void focus() { ::SetFocus(m_list); }

    void add(Instruments instruments);
    void removeSelected();
    void selectAll();
    /// Disables the list if `on` is true, and enables it otherwise. While it is disabled, the user
    /// cannot select, drag or drop instruments.
    void setDisabled(bool on);

    /// Returns the column titles for a workbook, in the user's language.
    static std::vector<std::wstring> workbookTitles();
    /// Reloads all strings in the current language.
    void refresh();
    /// Sets the positions of the controls.
    void arrange(const Appearance& appearance);

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void onNotification(NMHDR& notification);
    void onGetDispInfo(NMLVDISPINFOW& request) const;
    void dragSelected();
    void select(int index, bool on);  // index -1 refers to all instruments
    void show();

    Instruments m_instruments;
    HWND m_label = nullptr, m_list = nullptr;
    std::unique_ptr<DropArea> m_dropArea;
};
