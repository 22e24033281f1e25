#include "samples/workstation/MainWindow.h"

#include <commctrl.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "samples/workstation/Area.h"
#include "samples/workstation/ChartsModule.h"
#include "samples/workstation/Controls.h"
#include "samples/workstation/Exchange.h"
#include "samples/workstation/ExportFile.h"
#include "samples/workstation/InstrumentDocument.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

namespace {

constexpr UINT kReadingEnded = WM_APP;

/// Returns the example instruments from an XML resource of this program.
Instruments exampleInstruments() {
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (i18nres::loadXMLDocumentFromResource(kThisProgram, IDR_INSTRUMENTS, document.p) != S_OK)
        return {};
    Instruments instruments = readDocument(*document).value_or(Instruments());
    for (Instrument& each : instruments) each.source = Instrument::Source::kSample;
    return instruments;
}

/// Returns true if the control is an edit control, which has its own implementation of Copy and
/// Select All.
bool isEditControl(HWND control) {
    wchar_t name[16] = L"";
    ::GetClassNameW(control, name, static_cast<int>(std::size(name)));
    return ::lstrcmpiW(name, WC_EDITW) == 0;
}

}  // namespace

MainWindow::MainWindow(const Options& options, Localization& localization)
    : m_options(options), m_localization(localization) {
    create(L"Workstation", nullptr, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0);
    m_appearance = std::make_unique<Appearance>(dpiOf(handle()));

    m_resources = std::make_unique<ResourcesPane>(handle(), localization);
    m_resources->onCulture = [this](const std::wstring& tag) { setCulture(tag); };
    m_resources->onStringOrigin = [this](bool on) { setStringOrigin(on); };
    m_resources->onFallbackMarks = [this](bool on) { setFallbackMarks(on); };

    m_instruments = std::make_unique<InstrumentsPane>(handle());
    m_instruments->onChange = [this] { updateCounts(); };
    m_instruments->onDrop = [this](const ATL::CComPtr<IDataObject>& object) {
        beginReading(false, object);
    };

    m_clipboard = std::make_unique<ClipboardPane>(handle());
    m_status = std::make_unique<StatusBar>(handle());
    m_reader = std::make_unique<InstrumentReader>(handle(), kReadingEnded);
    setFonts(handle(), m_appearance->font());
    if (!m_options.empty) m_instruments->add(exampleInstruments());
    refresh();
}

void MainWindow::show(int showCommand) {
    RECT screen{};
    ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    const int width = std::min<int>(m_appearance->scaled(1100), screen.right - screen.left);
    const int height = std::min<int>(m_appearance->scaled(760), screen.bottom - screen.top);
    ::SetWindowPos(handle(), nullptr, 0, 0, width, height,
                   SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ::ShowWindow(handle(), showCommand);
    m_instruments->focus();
}

LRESULT MainWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND:
            if (lParam == 0) onCommand(LOWORD(wParam));
            return 0;
        case kReadingEnded:
            endReading();
            return 0;
        case WM_INITMENUPOPUP:
            prepareMenu(reinterpret_cast<HMENU>(wParam));
            return 0;
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) arrange();
            return 0;
        case WM_GETMINMAXINFO:
            if (m_appearance)
                reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {m_appearance->scaled(900),
                                                                         m_appearance->scaled(460)};
            return 0;
        case WM_DPICHANGED:
            onDpi(HIWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
            return 0;
        case WM_ACTIVATE:
            if (LOWORD(wParam) == WA_INACTIVE) m_focus = ::GetFocus();
            break;
        case WM_SETFOCUS:
            if (::IsChild(handle(), m_focus))
                ::SetFocus(m_focus);
            else if (m_instruments)
                m_instruments->focus();
            return 0;
        case WM_DESTROY:
            ::PostQuitMessage(0);
            return 0;
        default:
            break;
    }
    return Window::onMessage(message, wParam, lParam);
}

void MainWindow::onCommand(int command) {
    switch (command) {
        case ID_FILE_EXPORT:
            return exportInstruments();
        case ID_FILE_EXIT:
            ::PostMessageW(handle(), WM_CLOSE, 0, 0);
            return;
        case ID_EDIT_COPY:
            return copy();
        case ID_EDIT_PASTE:
            return paste();
        case ID_EDIT_DELETE:
            return m_instruments->removeSelected();
        case ID_EDIT_SELECT_ALL:
            return selectAll();
        case ID_VIEW_REFRESH:
            m_localization.refresh();
            return refresh();
        case ID_VIEW_STRING_ORIGIN:
            return setStringOrigin(!m_localization.showsOrigin());
        case ID_VIEW_FALLBACK_MARKS:
            return setFallbackMarks(!m_localization.marksFallbacks());
        default:
            return;
    }
}

/// Adapts the window after it has been moved to a monitor with a different DPI, or after the user
/// has changed the display scaling.
void MainWindow::onDpi(unsigned dpi, const RECT& area) {
    auto appearance = std::make_unique<Appearance>(dpi);
    setFonts(handle(), appearance->font());
    m_appearance = std::move(appearance);
    ::SetWindowPos(handle(), nullptr, area.left, area.top, area.right - area.left,
                   area.bottom - area.top, SWP_NOZORDER | SWP_NOACTIVATE);
    arrange();
}

void MainWindow::copy() {
    if (isEditControl(::GetFocus())) {
        ::SendMessageW(::GetFocus(), WM_COPY, 0, 0);
        return;
    }
    const Instruments selected = m_instruments->selected();
    if (selected.empty()) return;
    const bool copied = ::copy(selected, InstrumentsPane::workbookTitles());
    m_status->showMessage(copied ? text(IDS_COPIED, static_cast<int>(selected.size()))
                                 : text(IDS_NOT_COPIED));
}

void MainWindow::paste() { beginReading(true, nullptr); }

void MainWindow::selectAll() {
    if (isEditControl(::GetFocus()))
        ::SendMessageW(::GetFocus(), EM_SETSEL, 0, -1);
    else
        m_instruments->selectAll();
}

void MainWindow::beginReading(bool fromClipboard, const ATL::CComPtr<IDataObject>& dropped) {
    if (m_reader->isReading()) return;
    m_status->showMessage(text(IDS_READING));
    m_status->showProgress(true);
    m_instruments->setDisabled(true);
    if (fromClipboard)
        m_reader->readClipboard();
    else
        m_reader->read(dropped);
}

void MainWindow::endReading() {
    auto instruments = m_reader->finish();
    m_status->showProgress(false);
    m_instruments->setDisabled(false);
    m_instruments->focus();
    m_status->showMessage(instruments ? text(IDS_RECEIVED, static_cast<int>(instruments->size()))
                                      : text(IDS_NOTHING_TO_READ));
    if (instruments) m_instruments->add(std::move(*instruments));
}

void MainWindow::exportInstruments() {
    const std::wstring path =
        m_options.exportPath.empty() ? selectExportPath(handle()) : m_options.exportPath;
    if (path.empty()) return;
    const bool written = exportText(path, m_instruments->instruments());
    m_status->showMessage(text(written ? IDS_EXPORTED : IDS_NOT_EXPORTED, path.c_str()));
}

void MainWindow::updateCounts() {
    if (m_status)
        m_status->showCounts(text(IDS_COUNTS, static_cast<int>(m_instruments->instruments().size()),
                                  m_instruments->selectedCount()));
}

void MainWindow::setCulture(const std::wstring& tag) {
    m_localization.setCulture(tag);
    refresh();
}

void MainWindow::setStringOrigin(bool on) {
    m_localization.showOrigin(on);
    refresh();
}

void MainWindow::setFallbackMarks(bool on) {
    m_localization.markFallbacks(on);
    refresh();
}

void MainWindow::refresh() {
    const std::wstring& culture = m_localization.culture();
    setText(handle(), (culture.empty() ? L"" : culture + L" - ") + text(IDS_TITLE));
    loadMenu();
    m_resources->refresh();
    m_instruments->refresh();
    m_clipboard->refresh();
    m_status->showMessage(text(m_reader->isReading() ? IDS_READING : IDS_READY));
    updateCounts();
    arrange();
}

void MainWindow::loadMenu() {
    Menu menu(i18nres::loadMenu(kThisProgram, MAKEINTRESOURCEW(IDR_MAIN)));
    // The library searches only satellites for menus. If no satellite contains the menu, use the
    // menu in the program itself.
    if (!menu) menu.reset(::LoadMenuW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN)));
    const Menu previous(::GetMenu(handle()));
    if (::SetMenu(handle(), menu.get())) (void)menu.release();  // now the window owns the menu
}

void MainWindow::prepareMenu(HMENU menu) {
    const auto check = [menu](UINT command, bool on) {
        ::CheckMenuItem(menu, command, on ? MF_CHECKED : MF_UNCHECKED);
    };
    const auto enable = [menu](UINT command, bool on) {
        ::EnableMenuItem(menu, command, on ? MF_ENABLED : MF_GRAYED);
    };
    check(ID_VIEW_STRING_ORIGIN, m_localization.showsOrigin());
    check(ID_VIEW_FALLBACK_MARKS, m_localization.marksFallbacks());
    const bool selected = m_instruments->selectedCount() > 0;
    enable(ID_EDIT_COPY, selected || isEditControl(::GetFocus()));
    enable(ID_EDIT_DELETE, selected && !m_reader->isReading());
    enable(ID_EDIT_PASTE, !m_reader->isReading() && clipboardOffersInstruments());
    enable(ID_FILE_EXPORT, !m_instruments->instruments().empty());
}

void MainWindow::arrange() {
    if (!m_status) return;  // during construction, before the panes exist
    RECT client{};
    ::GetClientRect(handle(), &client);
    client.bottom -= m_status->arrange(*m_appearance);
    Area area(client, 0);
    setPosition(m_clipboard->handle(), area.cutBottom(area.height() * 3 / 10));
    setPosition(m_resources->handle(), area.cutLeft(area.width() * 9 / 20));
    setPosition(m_instruments->handle(), area.remaining());
    m_resources->arrange(*m_appearance);
    m_instruments->arrange(*m_appearance);
    m_clipboard->arrange(*m_appearance);
}
