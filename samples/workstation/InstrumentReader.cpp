#include "samples/workstation/InstrumentReader.h"

#include <comdef.h>

#include <new>
#include <utility>

#include "samples/clipboard_view/Background.h"
#include "samples/clipboard_view/ClipboardAccess.h"
#include "samples/workstation/Exchange.h"

namespace {

constexpr DWORD kCopyTimeoutMilliseconds = 5000;

/// Returns the data object on the clipboard, or null on failure. Waits up to five seconds for copy
/// operations of this program to end, and then up to 500 ms while another program has the clipboard
/// open.
ATL::CComPtr<IDataObject> clipboardContents() {
    CDataObject::WaitForCopyProcessEnding(kCopyTimeoutMilliseconds);
    ATL::CComPtr<IDataObject> object;
    retryWhileClipboardIsBusy([&] { return ::OleGetClipboard(&object); });
    return object;
}

}  // namespace

InstrumentReader::~InstrumentReader() {
    if (m_thread.joinable()) m_thread.join();
}

void InstrumentReader::readClipboard() {
    startThread([]() -> std::optional<Instruments> {
        const ATL::CComPtr<IDataObject> object = clipboardContents();
        if (!object) return std::nullopt;
        return importFromClipboard(*object);
    });
}

void InstrumentReader::read(const ATL::CComPtr<IDataObject>& object) {
    startThread([object] { return importInstruments(*object); });
}

void InstrumentReader::startThread(std::function<std::optional<Instruments>()> read) {
    if (isReading()) return;
    m_thread = std::thread([this, read = std::move(read)] {
        const OleApartment apartment;
        try {
            m_instruments = read();
        } catch (const std::bad_alloc&) {  // memory ran out
        } catch (const _com_error&) {      // memory ran out while XML was read
        }
        ::PostMessageW(m_window, m_message, 0, 0);
    });
}

std::optional<Instruments> InstrumentReader::finish() {
    if (m_thread.joinable()) m_thread.join();
    return std::exchange(m_instruments, std::nullopt);
}
