#include "samples/exchange/Clipboard.h"

#include <string>

#include "samples/clipboard_view/ClipboardAccess.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/exchange/CopyProcess.h"
#include "samples/exchange/Failure.h"

namespace {

constexpr DWORD kCopyTimeoutMilliseconds = 5000;

/// Repeats `action` for up to 500 ms while another program has the clipboard open. Throws a Failure
/// if the last attempt fails.
template <class Action>
void retryWhileBusyOrThrow(const wchar_t* purpose, Action action) {
    const HRESULT hr = retryWhileClipboardIsBusy(action);
    if (hr == CLIPBRD_E_CANT_OPEN) failBusy();
    if (hr != S_OK) throw Failure{kRefused, std::wstring(L"the system refused to ") + purpose};
}

}  // namespace

Clipboard::Clipboard() {
    if (FAILED(::OleInitialize(nullptr))) throw Failure{kRefused, L"OLE cannot be initialized"};
}

Clipboard::~Clipboard() { ::OleUninitialize(); }

void Clipboard::copy(const std::function<void(IDataObject&)>& fill) {
    const CopyProcess copyProcess;
    ATL::CComPtr<IDataObject> object;
    if (CDataObject::CreateInstance(&object) != S_OK)
        throw Failure{kRefused, L"there is no memory for a data object"};
    fill(*object);

    retryWhileBusyOrThrow(L"take the data", [&] { return ::OleSetClipboard(object); });
    // Term() flushes the clipboard. This program stores no interfaces in data objects, so Term()
    // fails only if the flush fails. In this case, Term() can be called again.
    retryWhileBusyOrThrow(L"keep the data",
                          [] { return CDataObject::Term() == 1 ? S_OK : CLIPBRD_E_CANT_OPEN; });
}

ATL::CComPtr<IDataObject> Clipboard::contents() {
    waitForCopying();
    retryWhileBusyOrThrow(L"open the clipboard", probeClipboard);
    ATL::CComPtr<IDataObject> object;
    retryWhileBusyOrThrow(L"show its data", [&] { return ::OleGetClipboard(&object); });
    return object;
}

void waitForCopying() {
    // WaitForCopyProcessEnding returns immediately if no thread of this program is copying.
    if (!CDataObject::WaitForCopyProcessEnding(kCopyTimeoutMilliseconds))
        throw Failure{kClipboardBusy, L"a copy that is in progress has not ended"};
}

void failBusy() {
    throw Failure{kClipboardBusy,
                  L"the clipboard is held open by " + describeOpenClipboardProgram()};
}
