// Starts a program and owns the clipboard while the program runs. Offers data that is never
// delivered, or data that is damaged.
//
//   clipboard_offerer stuck|nothing|lies PROGRAM [ARGUMENT...]
//
// - stuck: offers text. A program that reads the text waits until PROGRAM has ended.
// - nothing: offers text, a record, rich text and comma-separated values, but delivers no data.
// - lies: delivers damaged data in several formats, and data in one unknown format.
//
// The exit status is the exit status of PROGRAM, or 125 if the clipboard cannot be opened or
// PROGRAM cannot be started.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/samples/StartProgram.h"

namespace {

constexpr int kFailed = 125;

HANDLE program = nullptr;
bool isStuck = false;

void put(UINT format, std::string_view bytes) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
    GlobalUnlock(block);
    SetClipboardData(format, block);  // the system now owns the block
}

// Puts the following data on the clipboard:
// - UTF-16 text that has no terminator and ends with half a code unit
// - a truncated record
// - a document without end tags
// - bytes in an unknown format
// - a bitmap that is larger than its block
void putDamagedFormats() {
    using namespace std::string_view_literals;
    put(CF_UNICODETEXT, "a\0b\0c"sv);
    put(RegisterClipboardFormatW(L"DALVO_RECORD_FORMAT"), "BORLO28.B"sv);
    put(RegisterClipboardFormatW(L"DALVO_XML_FORMAT"), "<TarloData><Instruments>"sv);
    put(RegisterClipboardFormatW(L"DALVO_BYTES"),
        "sixteen letters, \x7f\x80\xff\0"
        "5"sv);
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = header.biHeight = 30000;
    header.biPlanes = 1;
    header.biBitCount = 32;
    put(CF_DIB, {reinterpret_cast<const char*>(&header), sizeof header});
}

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_RENDERFORMAT && isStuck) WaitForSingleObject(program, INFINITE);
    return DefWindowProcW(window, message, wParam, lParam);
}

bool takeClipboard(const std::wstring& mode) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = onMessage;
    windowClass.lpszClassName = L"ClipboardOfferer";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"ClipboardOfferer", L"Clipboard offerer", 0, 0, 0, 0, 0,
                                      HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!OpenClipboard(window)) return false;
    EmptyClipboard();
    isStuck = mode == L"stuck";
    if (mode == L"lies")
        putDamagedFormats();
    else
        SetClipboardData(CF_UNICODETEXT, nullptr);  // delayed rendering
    if (mode == L"nothing") {
        for (const wchar_t* const name : {L"DALVO_RECORD_FORMAT", L"rich text format", L"cvs"})
            SetClipboardData(RegisterClipboardFormatW(name), nullptr);
    }
    return CloseClipboard();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3 || !takeClipboard(argv[1])) {
        std::fputs("clipboard_offerer: the clipboard cannot be opened\n", stderr);
        return kFailed;
    }
    std::printf("clipboard_offerer is process %lu\n", GetCurrentProcessId());
    std::fflush(stdout);
    program = start(commandLineOf(argc - 2, argv + 2));
    if (!program) return kFailed;
    while (MsgWaitForMultipleObjects(1, &program, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    return finish(program);
}
