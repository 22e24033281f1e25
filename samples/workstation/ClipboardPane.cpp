#include "samples/workstation/ClipboardPane.h"

#include <comdef.h>

#include <algorithm>
#include <new>

#include "samples/clipboard_view/ClipboardAccess.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/clipboard_view/Decoding.h"
#include "samples/workstation/Area.h"
#include "samples/workstation/Controls.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

namespace {

constexpr UINT kReadingEnded = WM_APP;
constexpr UINT_PTR kLimitTimer = 1;
constexpr std::size_t kMaxLines = 200;
constexpr std::size_t kMaxLineLength = 500;

}  // namespace

ClipboardPane::ClipboardPane(HWND parent) {
    create(L"WorkstationClipboard", parent, WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN,
           WS_EX_CONTROLPARENT);
    m_label = addLabel(handle());
    m_list = addList(handle(), LVS_OWNERDATA | LVS_SINGLESEL);
    m_contentsLabel = addLabel(handle());
    m_contents = addTextView(handle(), WS_HSCROLL | WS_VSCROLL | ES_AUTOHSCROLL);
    ::AddClipboardFormatListener(handle());
}

ClipboardPane::~ClipboardPane() {
    ::RemoveClipboardFormatListener(handle());
    for (int i = 0; i < 20 && m_reading && !m_reading->hasEnded(); ++i)
        waitAndHandleSentMessages(50);
}

void ClipboardPane::refresh() {
    setText(m_label, text(IDS_CLIPBOARD));
    listFormats();
}

void ClipboardPane::arrange(const Appearance& appearance) {
    RECT client{};
    ::GetClientRect(handle(), &client);
    Area area(client, appearance.gap());
    area.shrink(appearance.gap());
    const auto column = [&](HWND label, HWND control, RECT columnArea) {
        Area below(columnArea, appearance.scaled(3));
        setPosition(label, below.cutTop(appearance.lineHeight()));
        setPosition(control, below.remaining());
    };
    column(m_label, m_list, area.cutLeft(area.width() * 3 / 10));
    column(m_contentsLabel, m_contents, area.remaining());
    ::SendMessageW(m_contents, WM_SETFONT, reinterpret_cast<WPARAM>(appearance.fixedFont()), TRUE);
    setColumns(m_list, {{text(IDS_STRING_ID), appearance.scaled(60)}, {text(IDS_FORMAT), 0}});
}

LRESULT ClipboardPane::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CLIPBOARDUPDATE:
            listFormats();
            return 0;
        case kReadingEnded:
            endReading();
            return 0;
        case WM_TIMER:
            showTimeout();
            return 0;
        case WM_NOTIFY:
            if (reinterpret_cast<NMHDR*>(lParam)->hwndFrom == m_list)
                onNotification(*reinterpret_cast<NMHDR*>(lParam));
            return 0;
        default:
            return Window::onMessage(message, wParam, lParam);
    }
}

void ClipboardPane::onNotification(NMHDR& notification) {
    if (notification.code == LVN_GETDISPINFOW) {
        LVITEMW& item = reinterpret_cast<NMLVDISPINFOW&>(notification).item;
        if (!(item.mask & LVIF_TEXT) || item.iItem < 0 || item.iItem >= std::ssize(m_formats))
            return;
        const unsigned format = m_formats[static_cast<std::size_t>(item.iItem)];
        copyToBuffer(item.pszText, item.cchTextMax,
                     item.iSubItem == 0 ? std::to_wstring(format) : nameOfFormat(format));
    } else if (notification.code == LVN_ITEMCHANGED) {
        const int row = ListView_GetNextItem(m_list, -1, LVNI_SELECTED);
        if (row < 0 || row >= std::ssize(m_formats)) return;
        const unsigned format = m_formats[static_cast<std::size_t>(row)];
        if (format == m_selected) return;
        m_selected = m_userSelected = format;
        beginReading();
    }
}

/// Updates the list of formats, and selects and reads the format that the user chose. If the
/// clipboard does not offer that format, selects and reads the first format.
void ClipboardPane::listFormats() {
    m_formats = currentFormats();
    const auto userSelected = std::ranges::find(m_formats, m_userSelected);
    const auto row = userSelected == m_formats.end() ? 0 : userSelected - m_formats.begin();
    m_selected = m_formats.empty() ? 0 : m_formats[static_cast<std::size_t>(row)];
    ::SendMessageW(m_list, LVM_SETITEMCOUNT, m_formats.size(), 0);
    ListView_SetItemState(m_list, static_cast<int>(row), LVIS_SELECTED | LVIS_FOCUSED,
                          LVIS_SELECTED | LVIS_FOCUSED);
    ::InvalidateRect(m_list, nullptr, TRUE);

    const Program owner = clipboardOwner();
    setText(m_contentsLabel,
            owner.name.empty() ? text(IDS_CONTENTS) : text(IDS_CONTENTS_FROM, owner.name.c_str()));
    beginReading();
}

/// Reads the data in the selected format on a background thread. Only one read runs at a time,
/// because a read keeps the clipboard open until it ends. If a read is in progress, the new read
/// starts after the current read has ended.
void ClipboardPane::beginReading() {
    m_isOutdated = m_reading != nullptr;
    if (m_isOutdated) return;
    if (m_formats.empty()) return setText(m_contents, text(IDS_CLIPBOARD_EMPTY));
    const HWND window = handle();
    m_reading = std::make_unique<Background<Contents>>(
        [format = m_selected] { return read(format); },
        [window] { ::PostMessageW(window, kReadingEnded, 0, 0); });
    ::SetTimer(handle(), kLimitTimer, static_cast<UINT>(kReadLimit.count() * 1000), nullptr);
}

/// Shows a message that the data was not delivered in time. The read continues. If the data is
/// delivered later, it is shown.
void ClipboardPane::showTimeout() {
    ::KillTimer(handle(), kLimitTimer);
    if (m_reading) setText(m_contents, text(IDS_FORMAT_LATE, static_cast<int>(kReadLimit.count())));
}

void ClipboardPane::endReading() {
    ::KillTimer(handle(), kLimitTimer);
    const Contents contents = m_reading->get();
    m_reading.reset();
    if (m_isOutdated)
        beginReading();
    else
        show(contents);
}

void ClipboardPane::show(const Contents& contents) {
    if (contents.failure)
        return setText(m_contents,
                       text(IDS_READ_FAILURES + static_cast<unsigned>(*contents.failure)));
    std::wstring shown = contents.isReadable ? L"" : text(IDS_FORMAT_UNREADABLE) + L"\r\n";
    shown += contents.text;
    if (contents.omittedLines > 0)
        shown += text(IDS_MORE_LINES, static_cast<int>(contents.omittedLines));
    setText(m_contents, shown);
}

ClipboardPane::Contents ClipboardPane::read(unsigned format) {
    Contents contents;
    try {
        const Decoded decoded = decode(format, readBytes(format), kMaxLines);
        contents.isReadable = decoded.isReadable;
        contents.omittedLines = decoded.omittedLines;
        for (const std::wstring& line : linesOf(decoded))
            contents.text += line.substr(0, kMaxLineLength) +
                             (line.size() > kMaxLineLength ? L"...\r\n" : L"\r\n");
    } catch (const ReadFailure failure) {
        contents.failure = failure;
    } catch (const std::bad_alloc&) {
        contents.failure = ReadFailure::kTooLarge;
    } catch (const _com_error&) {  // memory ran out while XML was read
        contents.failure = ReadFailure::kTooLarge;
    }
    return contents;
}
