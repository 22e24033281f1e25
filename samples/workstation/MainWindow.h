#pragma once

#include <memory>
#include <string>

#include "samples/workstation/Appearance.h"
#include "samples/workstation/ClipboardPane.h"
#include "samples/workstation/InstrumentReader.h"
#include "samples/workstation/InstrumentsPane.h"
#include "samples/workstation/Localization.h"
#include "samples/workstation/Options.h"
#include "samples/workstation/ResourcesPane.h"
#include "samples/workstation/StatusBar.h"
#include "samples/workstation/Window.h"

/// The main window of the program, with a menu, three panes and a status bar.
class MainWindow : public Window {
public:
    MainWindow(const Options& options, Localization& localization);

    void show(int showCommand);

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void onCommand(int command);
    void onDpi(unsigned dpi, const RECT& area);

    void copy();
    void paste();
    void selectAll();
    void beginReading(bool fromClipboard, const ATL::CComPtr<IDataObject>& dropped);
    void endReading();
    void exportInstruments();
    void updateCounts();

    void setCulture(const std::wstring& tag);
    void setStringOrigin(bool on);
    void setFallbackMarks(bool on);
    /// Reloads all strings and resources of the window in the current language.
    void refresh();
    void loadMenu();
    void prepareMenu(HMENU menu);
    void arrange();

    const Options m_options;
    Localization& m_localization;
    std::unique_ptr<Appearance> m_appearance;
    std::unique_ptr<ResourcesPane> m_resources;
    std::unique_ptr<InstrumentsPane> m_instruments;
    std::unique_ptr<ClipboardPane> m_clipboard;
    std::unique_ptr<StatusBar> m_status;
    // The reader is destroyed first, because its thread posts a message to the window.
    std::unique_ptr<InstrumentReader> m_reader;
    HWND m_focus = nullptr;  // the control that had the focus when the window was deactivated
};
