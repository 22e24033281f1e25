// workstation: a windowed program that shows the resources of charts.dll for any culture and
// exchanges instruments with other programs. It uses only the library's public functions.
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>

#include <string>

#include <I18nResource.h>

#include "samples/clipboard_view/ClipboardAccess.h"
#include "samples/workstation/Localization.h"
#include "samples/workstation/MainWindow.h"
#include "samples/workstation/Options.h"
#include "samples/workstation/Resource.h"

namespace {

constexpr wchar_t kUsage[] =
    L"usage: workstation [--culture TAG] [--empty] [--export FILE]\n\n"
    L"  --culture TAG   the culture at the start, such as fr-CA\n"
    L"  --empty         starts without instruments\n"
    L"  --export FILE   the file that File > Export writes, without a dialog\n";

enum ExitStatus { kDone = 0, kUsageError = 1, kTagRefused = 2, kNoOle = 3 };

/// Initializes OLE on the thread of the window, and uninitializes it at the end of the scope. The
/// clipboard, drag and drop, and XML documents need OLE.
class OleSession {
public:
    OleSession() : m_result(::OleInitialize(nullptr)) {}
    OleSession(const OleSession&) = delete;
    OleSession& operator=(const OleSession&) = delete;
    ~OleSession() {
        if (!isInitialized()) return;
        // Term() flushes the clipboard, so that copied data remains there after the program ends.
        // The call is retried, because the clipboard pane may still have the clipboard open.
        retryWhileClipboardIsBusy(
            [] { return CDataObject::Term() == 1 ? S_OK : CLIPBRD_E_CANT_OPEN; });
        ::OleUninitialize();
    }

    bool isInitialized() const { return SUCCEEDED(m_result); }

private:
    HRESULT m_result;
};

void handleMessages(HWND window) {
    const HACCEL keys =
        ::LoadAcceleratorsW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN));
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (::TranslateAcceleratorW(window, keys, &message)) continue;
        if (::IsDialogMessageW(window, &message)) continue;  // handles the Tab key and mnemonics
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int showCommand) {
    Options options;
    if (!parseOptions(::GetCommandLineW(), options)) {
        ::MessageBoxW(nullptr, kUsage, L"workstation", MB_OK | MB_ICONINFORMATION);
        return kUsageError;
    }
    const OleSession ole;
    if (!ole.isInitialized()) return kNoOle;
    const INITCOMMONCONTROLSEX controls{
        sizeof controls, ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_BAR_CLASSES |
                             ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES};
    ::InitCommonControlsEx(&controls);

    Localization localization;
    if (!localization.setCulture(options.culture)) {
        const std::wstring message =
            options.culture + L" is not a culture tag: use one such as fr-CA";
        ::MessageBoxW(nullptr, message.c_str(), L"workstation", MB_OK | MB_ICONERROR);
        return kTagRefused;
    }
    MainWindow window(options, localization);
    window.show(showCommand);
    handleMessages(window.handle());
    return kDone;
}
