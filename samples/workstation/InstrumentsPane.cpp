#include "samples/workstation/InstrumentsPane.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "samples/workstation/Area.h"
#include "samples/workstation/Controls.h"
#include "samples/workstation/Exchange.h"
#include "samples/workstation/InstrumentText.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

InstrumentsPane::InstrumentsPane(HWND parent) {
    create(L"WorkstationInstruments", parent, WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN,
           WS_EX_CONTROLPARENT);
    m_label = addLabel(handle());
    m_list = addList(handle(), LVS_OWNERDATA);
    m_dropArea = std::make_unique<DropArea>(
        m_list, [this](const ATL::CComPtr<IDataObject>& object) { onDrop(object); });
}

Instruments InstrumentsPane::selected() const {
    Instruments instruments;
    for (int i = -1; (i = ListView_GetNextItem(m_list, i, LVNI_SELECTED)) >= 0;)
        instruments.push_back(m_instruments[static_cast<std::size_t>(i)]);
    return instruments;
}

int InstrumentsPane::selectedCount() const {
    return static_cast<int>(ListView_GetSelectedCount(m_list));
}

void InstrumentsPane::add(Instruments instruments) {
    const int first = static_cast<int>(m_instruments.size());
    std::ranges::move(instruments, std::back_inserter(m_instruments));
    show();
    ListView_EnsureVisible(m_list, static_cast<int>(m_instruments.size()) - 1, FALSE);
    ListView_EnsureVisible(m_list, first, FALSE);
    onChange();
}

void InstrumentsPane::removeSelected() {
    Instruments kept;
    for (int i = 0; i < std::ssize(m_instruments); ++i)
        if (!ListView_GetItemState(m_list, i, LVIS_SELECTED))
            kept.push_back(std::move(m_instruments[static_cast<std::size_t>(i)]));
    m_instruments = std::move(kept);
    select(-1, false);
    show();
    onChange();
}

void InstrumentsPane::selectAll() { select(-1, true); }

void InstrumentsPane::select(int index, bool on) {
    ListView_SetItemState(m_list, index, on ? LVIS_SELECTED : 0u, LVIS_SELECTED);
}

void InstrumentsPane::show() {
    ::SendMessageW(m_list, LVM_SETITEMCOUNT, m_instruments.size(), LVSICF_NOSCROLL);
    ::InvalidateRect(m_list, nullptr, TRUE);
}

void InstrumentsPane::setDisabled(bool on) {
    ::EnableWindow(m_list, !on);
    m_dropArea->rejectDrops(on);
}

std::vector<std::wstring> InstrumentsPane::workbookTitles() {
    return {text(IDS_INSTRUMENT_CODE), text(IDS_FIELD), text(IDS_VALUE)};
}

void InstrumentsPane::refresh() {
    setText(m_label, text(IDS_INSTRUMENTS));
    ::InvalidateRect(m_list, nullptr, TRUE);
}

void InstrumentsPane::arrange(const Appearance& appearance) {
    RECT client{};
    ::GetClientRect(handle(), &client);
    Area area(client, appearance.gap());
    area.shrink(appearance.gap());
    setPosition(m_label, area.cutTop(appearance.lineHeight()));
    setPosition(m_list, area.remaining());
    setColumns(m_list, {{text(IDS_INSTRUMENT_CODE), appearance.scaled(90)},
                        {text(IDS_INSTRUMENT_TYPE), appearance.scaled(44)},
                        {text(IDS_INSTRUMENT_FEED), appearance.scaled(90)},
                        {text(IDS_INSTRUMENT_FIELDS), 0},
                        {text(IDS_INSTRUMENT_SOURCE), appearance.scaled(100)}});
}

LRESULT InstrumentsPane::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_NOTIFY:
            if (reinterpret_cast<NMHDR*>(lParam)->hwndFrom == m_list)
                onNotification(*reinterpret_cast<NMHDR*>(lParam));
            return 0;
        case WM_DESTROY:
            m_dropArea.reset();
            return 0;
        default:
            return Window::onMessage(message, wParam, lParam);
    }
}

void InstrumentsPane::onNotification(NMHDR& notification) {
    switch (notification.code) {
        case LVN_GETDISPINFOW:
            onGetDispInfo(reinterpret_cast<NMLVDISPINFOW&>(notification));
            break;
        case LVN_BEGINDRAG:
            dragSelected();
            break;
        case LVN_KEYDOWN:
            if (reinterpret_cast<NMLVKEYDOWN&>(notification).wVKey == VK_DELETE) removeSelected();
            break;
        case LVN_ITEMCHANGED:
        case LVN_ODSTATECHANGED:
            if (onChange) onChange();
            break;
        default:
            break;
    }
}

void InstrumentsPane::onGetDispInfo(NMLVDISPINFOW& request) const {
    LVITEMW& item = request.item;
    if (!(item.mask & LVIF_TEXT) || item.iItem < 0 || item.iItem >= std::ssize(m_instruments))
        return;
    const Instrument& instrument = m_instruments[static_cast<std::size_t>(item.iItem)];
    switch (item.iSubItem) {
        case 0:
            return copyToBuffer(item.pszText, item.cchTextMax, instrument.code);
        case 1:
            return copyToBuffer(item.pszText, item.cchTextMax, instrument.type);
        case 2:
            return copyToBuffer(item.pszText, item.cchTextMax, instrument.feed);
        case 3:
            return copyToBuffer(item.pszText, item.cchTextMax, textOf(instrument.fields));
        case 4:
            return copyToBuffer(item.pszText, item.cchTextMax,
                                text(IDS_SOURCE_SAMPLE + static_cast<unsigned>(instrument.source)));
        default:
            return;
    }
}

void InstrumentsPane::dragSelected() {
    const ATL::CComPtr<IDataObject> object = createDataObject(selected(), workbookTitles());
    if (!object) return;
    m_dropArea->rejectDrops(true);  // the list already contains these instruments
    drag(*object);
    m_dropArea->rejectDrops(false);
}
