#include "samples/exchange/Clipboard.h"

#include <iterator>
#include <string>

#include "samples/exchange/CopyProcess.h"
#include "samples/exchange/Failure.h"

namespace {

constexpr int kAttempts = 20;
constexpr DWORD kPauseMilliseconds = 100;
constexpr DWORD kLongestCopyMilliseconds = 5000;

std::wstring holder() {
    const HWND window = ::GetOpenClipboardWindow();
    if (!window) return L"a program without a window";
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    wchar_t title[128] = L"";
    ::GetWindowTextW(window, title, static_cast<int>(std::size(title)));
    return L"process " + std::to_wstring(process) + L", window \"" + title + L"\"";
}

/// Repeats `action` while it finds the clipboard open in another process.
template <class Action>
void attempt(const wchar_t* purpose, Action action) {
    for (int i = 1;; ++i) {
        const HRESULT hr = action();
        if (hr == S_OK) return;
        if (hr != CLIPBRD_E_CANT_OPEN)
            throw Failure{kRefused, std::wstring(L"the system refused to ") + purpose};
        if (i == kAttempts)
            throw Failure{kClipboardBusy, L"the clipboard is held open by " + holder()};
        ::Sleep(kPauseMilliseconds);
    }
}

/// A window that nobody sees.
class MessageWindow {
public:
    MessageWindow()
        : m_window(::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   nullptr, nullptr)) {}
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    ~MessageWindow() { ::DestroyWindow(m_window); }

    HWND get() const { return m_window; }

private:
    HWND m_window;
};

/// Whether the clipboard can be opened right now: reading it through a data object would fail in
/// the same way, but not say why. Without a window the system may not tell one opener from another.
HRESULT probe() {
    const MessageWindow window;
    if (!::OpenClipboard(window.get())) return CLIPBRD_E_CANT_OPEN;
    ::CloseClipboard();
    return S_OK;
}

}  // namespace

Clipboard::Clipboard() {
    if (FAILED(::OleInitialize(nullptr))) throw Failure{kRefused, L"OLE cannot be initialised"};
}

Clipboard::~Clipboard() { ::OleUninitialize(); }

void Clipboard::copy(const std::function<void(IDataObject&)>& fill) {
    const CopyProcess copyProcess;
    ATL::CComPtr<IDataObject> object;
    if (CDataObject::CreateInstance(&object) != S_OK)
        throw Failure{kRefused, L"there is no memory for a data object"};
    fill(*object);

    attempt(L"take the data", [&] { return ::OleSetClipboard(object); });
    // Term says only whether the data was rendered. Asking again does no harm, because this program
    // stores no interfaces, which Term would cut off.
    attempt(L"keep the data", [] { return CDataObject::Term() == 1 ? S_OK : CLIPBRD_E_CANT_OPEN; });
}

ATL::CComPtr<IDataObject> Clipboard::contents() {
    // For programs that also copy, on whatever thread: alone, a paste is answered at once.
    if (!CDataObject::WaitForCopyProcessEnding(kLongestCopyMilliseconds))
        throw Failure{kClipboardBusy, L"a copy that has begun does not end"};
    attempt(L"open the clipboard", probe);
    ATL::CComPtr<IDataObject> object;
    attempt(L"show its data", [&] { return ::OleGetClipboard(&object); });
    return object;
}
