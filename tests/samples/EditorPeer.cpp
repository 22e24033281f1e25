// Starts PROGRAM, which is one of the system's text editors, and sends WM_PASTE to its edit
// control. Prints the line "bold" if the first character in the control is bold, and "plain"
// otherwise. Then prints the text in the control.
//
//   editor_peer PROGRAM
//
// Exit status: 0 if the text was printed, 77 if PROGRAM is not installed, 1 if PROGRAM has no
// multiline edit control.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <richedit.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kMissing = 77;

// A running program. The destructor terminates the program.
class Editor {
public:
    explicit Editor(std::wstring commandLine) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &m_info);
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor() {
        if (!started()) return;
        TerminateProcess(m_info.hProcess, 0);
        WaitForSingleObject(m_info.hProcess, 10000);
        CloseHandle(m_info.hThread);
        CloseHandle(m_info.hProcess);
    }

    bool started() const { return m_info.hProcess != nullptr; }
    HANDLE process() const { return m_info.hProcess; }

    // Waits until the program is ready for input. Returns the program's multiline edit control, or
    // null if there is no such control.
    HWND editWindow() const {
        WaitForInputIdle(m_info.hProcess, 20000);
        Search search{m_info.dwProcessId, nullptr};
        EnumWindows(findInTopLevel, reinterpret_cast<LPARAM>(&search));
        return search.found;
    }

private:
    struct Search {
        DWORD process;
        HWND found;
    };

    static BOOL CALLBACK findInTopLevel(HWND window, LPARAM search) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process == reinterpret_cast<Search*>(search)->process)
            EnumChildWindows(window, findEdit, search);
        return !reinterpret_cast<Search*>(search)->found;
    }

    static BOOL CALLBACK findEdit(HWND window, LPARAM search) {
        wchar_t name[64] = L"";
        GetClassNameW(window, name, 64);
        for (const wchar_t* edit : {L"Edit", L"RichEdit20W", L"RICHEDIT50W"}) {
            // A single-line edit control belongs to a toolbar.
            const bool ofManyLines = GetWindowLongW(window, GWL_STYLE) & ES_MULTILINE;
            if (lstrcmpiW(name, edit) == 0 && ofManyLines)
                reinterpret_cast<Search*>(search)->found = window;
        }
        return !reinterpret_cast<Search*>(search)->found;
    }

    PROCESS_INFORMATION m_info{};
};

std::wstring textOf(HWND window) {
    std::vector<wchar_t> text(
        1 + static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)));
    SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return text.data();
}

// Returns true if the first character is bold. The system does not marshal the structures of rich
// edit messages, so the CHARFORMATW structure must be in the memory of the editor's process.
bool beginsBold(const Editor& editor, HWND window) {
    CHARFORMATW format{};
    format.cbSize = sizeof format;
    void* const remoteFormat = VirtualAllocEx(editor.process(), nullptr, sizeof format,
                                              MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    WriteProcessMemory(editor.process(), remoteFormat, &format, sizeof format, nullptr);
    SendMessageW(window, EM_SETSEL, 0, 1);
    SendMessageW(window, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(remoteFormat));
    ReadProcessMemory(editor.process(), remoteFormat, &format, sizeof format, nullptr);
    VirtualFreeEx(editor.process(), remoteFormat, 0, MEM_RELEASE);
    return (format.dwMask & CFM_BOLD) && (format.dwEffects & CFE_BOLD);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 2) return 1;
    const Editor editor(argv[1]);
    if (!editor.started()) {
        std::printf("skipped: this system has no %ls\n", argv[1]);
        return kMissing;
    }
    const HWND window = editor.editWindow();
    if (!window) {
        std::printf("%ls shows no window to edit text in\n", argv[1]);
        return 1;
    }
    SendMessageW(window, WM_PASTE, 0, 0);
    const std::wstring text = textOf(window);
    std::array<char, 4096> utf8{};
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, utf8.data(),
                        static_cast<int>(utf8.size() - 1), nullptr, nullptr);
    _setmode(_fileno(stdout), _O_BINARY);
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    const bool rich = lstrcmpiW(name, L"Edit") != 0;
    std::printf("%s\n%s\n", rich && beginsBold(editor, window) ? "bold" : "plain", utf8.data());
    return 0;
}
