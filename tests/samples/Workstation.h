#pragma once

#include <windows.h>

#include <commctrl.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "samples/workstation/Resource.h"

// Runs workstation.exe and sends keyboard and mouse input to it. window() returns the main window
// or, if the program reports an error at startup, the message box.
class Workstation {
public:
    // Starts the program. The File > Export command writes to a temporary file.
    explicit Workstation(const std::wstring& options) {
        static int count = 0;
        wchar_t folder[MAX_PATH] = L"", program[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        m_export = folder + (L"workstation" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                             std::to_wstring(++count) + L".txt");
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring path = program;
        path.replace(path.rfind(L'\\') + 1, std::wstring::npos, L"workstation.exe");
        std::wstring command = L"\"" + path + L"\" " + options + L" --export \"" + m_export + L"\"";

        // The X11 display of the tests has no window manager. By default, Wine waits for a window
        // manager whenever a window closes. Setting "Managed" to "N" prevents this delay.
        RegSetKeyValueW(HKEY_CURRENT_USER,
                        L"Software\\Wine\\AppDefaults\\workstation.exe\\X11 Driver", L"Managed",
                        REG_SZ, L"N", 2 * sizeof(wchar_t));

        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        CreateProcessW(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &m_process);
        if (!m_process.hProcess) return;
        // The job ends the program when this process ends, even if this process is terminated.
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        m_job = CreateJobObjectW(nullptr, nullptr);
        SetInformationJobObject(m_job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        AssignProcessToJobObject(m_job, m_process.hProcess);
        until([this] {
            EnumWindows(findWindow, reinterpret_cast<LPARAM>(this));
            return IsWindowVisible(m_window);
        });
    }
    Workstation(const Workstation&) = delete;
    Workstation& operator=(const Workstation&) = delete;
    ~Workstation() {
        if (m_process.hProcess) {
            close();
            TerminateProcess(m_process.hProcess, 1);
            WaitForSingleObject(m_process.hProcess, 10000);
            CloseHandle(m_process.hThread);
            CloseHandle(m_process.hProcess);
            CloseHandle(m_job);
        }
        DeleteFileW(m_export.c_str());
    }

    HWND window() const { return m_window; }

    // Closes the window. Returns the exit status of the program, or -1 if the program does not
    // end within 20 seconds.
    int close() {
        PostMessageW(m_window, WM_CLOSE, 0, 0);
        DWORD status = STILL_ACTIVE;
        if (WaitForSingleObject(m_process.hProcess, 20000) != WAIT_OBJECT_0) return -1;
        GetExitCodeProcess(m_process.hProcess, &status);
        return static_cast<int>(status);
    }

    void moveTo(int x, int y, int width, int height) const {
        SetWindowPos(m_window, HWND_TOP, x, y, width, height, SWP_SHOWWINDOW);
    }

    // Brings the window to the foreground and uses the Tab key to move the focus to the control.
    bool focus(HWND control) const {
        return until([&] {
            if (GetForegroundWindow() != m_window) SetForegroundWindow(m_window);
            const HWND before = focused();
            if (GetForegroundWindow() != m_window || !before) return false;
            if (before == control) return true;
            press(VK_TAB);
            until([&] { return focused() != before; }, 100);
            return focused() == control;
        });
    }

    // Presses a key in the control and waits up to five seconds for the effect. Makes up to four
    // attempts, because keystrokes are lost if another window comes to the foreground.
    template <class Condition>
    bool pressIn(HWND control, WORD key, WORD modifier, Condition effect) const {
        for (int i = 0; i < 4; ++i) {
            if (!focus(control)) return false;
            press(key, modifier);
            if (until(effect, 500)) return true;
        }
        return false;
    }

    HWND focused() const { return threadInfo().hwndFocus; }
    HWND capturing() const { return threadInfo().hwndCapture; }

    // Presses a key while a modifier key, such as VK_CONTROL, is down. If `modifier` is 0, presses
    // only the key.
    static void press(WORD key, WORD modifier = 0) {
        std::vector<INPUT> inputs;
        const auto add = [&inputs](WORD code, DWORD flags) {
            INPUT input{};
            input.type = INPUT_KEYBOARD;
            input.ki.wVk = code;
            input.ki.dwFlags = flags;
            inputs.push_back(input);
        };
        if (modifier) add(modifier, 0);
        add(key, 0);
        add(key, KEYEVENTF_KEYUP);
        if (modifier) add(modifier, KEYEVENTF_KEYUP);
        SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
    }

    // Moves the mouse to a position on the screen. If `button` is MOUSEEVENTF_LEFTDOWN or
    // MOUSEEVENTF_LEFTUP, also presses or releases the left button.
    static void mouse(POINT place, DWORD button = 0) {
        INPUT input{};
        input.type = INPUT_MOUSE;
        input.mi.dx = (place.x * 65536 + 32768) / GetSystemMetrics(SM_CXSCREEN);
        input.mi.dy = (place.y * 65536 + 32768) / GetSystemMetrics(SM_CYSCREEN);
        input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE | button;
        SendInput(1, &input, sizeof input);
    }

    // Checks the condition every 10 ms, up to `attempts` times (by default, for up to 20 seconds).
    // Returns true as soon as the condition is true, or false after the last attempt.
    template <class Condition>
    static bool until(Condition condition, int attempts = 2000) {
        for (int i = 0; i < attempts; ++i) {
            if (condition()) return true;
            Sleep(10);
        }
        return false;
    }

    void command(int id) const { SendMessageW(m_window, WM_COMMAND, static_cast<WPARAM>(id), 0); }

    std::wstring title() const { return textOf(m_window); }
    // Returns the text of the message box.
    std::wstring message() const {
        constexpr int kText = 0xFFFF;  // the id of the text control in a message box
        return textOf(GetDlgItem(m_window, kText));
    }
    HWND cultures() const { return control(L"WorkstationResources", L"ComboBox", 0); }
    HWND originSwitch() const { return control(L"WorkstationResources", L"Button", 0); }
    HWND fallbackSwitch() const { return control(L"WorkstationResources", L"Button", 1); }
    HWND strings() const { return control(L"WorkstationResources", L"SysListView32", 0); }
    HWND page() const { return control(L"WorkstationResources", L"Edit", 0); }
    HWND instruments() const { return control(L"WorkstationInstruments", L"SysListView32", 0); }
    HWND instrumentsLabel() const { return control(L"WorkstationInstruments", L"Static", 0); }
    HWND formats() const { return control(L"WorkstationClipboard", L"SysListView32", 0); }
    HWND clipboardLabel() const { return control(L"WorkstationClipboard", L"Static", 0); }
    HWND contents() const { return control(L"WorkstationClipboard", L"Edit", 0); }
    HWND progress() const { return control(L"msctls_statusbar32", L"msctls_progress32", 0); }

    static int count(HWND list) {
        return static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    }
    // Waits until the instrument list has `expected` rows and no read is in progress.
    bool holds(int expected) const {
        return until(
            [&] { return count(instruments()) == expected && IsWindowEnabled(instruments()); });
    }

    // Waits until the displayed contents of the selected format contain `part`.
    bool shows(const std::wstring& part) const {
        return until([&] { return textOf(contents()).find(part) != std::wstring::npos; });
    }
    // Returns the row of a format in the list of clipboard formats, or -1 if the format is not
    // listed.
    int rowOf(const std::wstring& format) const {
        for (int row = 0; row < count(formats()); ++row)
            if (cell(formats(), row, 1) == format) return row;
        return -1;
    }

    static std::wstring textOf(HWND window) {
        wchar_t text[512] = L"";
        SendMessageW(window, WM_GETTEXT, 512, reinterpret_cast<LPARAM>(text));
        return text;
    }

    // Returns the text of a cell in a list. The structure and the buffer for LVM_GETITEMTEXTW must
    // be in the memory of the workstation process.
    std::wstring cell(HWND list, int row, int column) const {
        constexpr int kSize = 256;
        struct Request {
            LVITEMW item;
            wchar_t text[kSize];
        } request{};
        auto* const remoteRequest = static_cast<Request*>(VirtualAllocEx(
            m_process.hProcess, nullptr, sizeof request, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        request.item.iSubItem = column;
        request.item.pszText = remoteRequest->text;
        request.item.cchTextMax = kSize;
        WriteProcessMemory(m_process.hProcess, remoteRequest, &request, sizeof request, nullptr);
        SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                     reinterpret_cast<LPARAM>(&remoteRequest->item));
        ReadProcessMemory(m_process.hProcess, remoteRequest, &request, sizeof request, nullptr);
        VirtualFreeEx(m_process.hProcess, remoteRequest, 0, MEM_RELEASE);
        return request.text;
    }

    // Returns the screen coordinates of a point in the first row of the instrument list.
    POINT firstRow() const {
        RECT header{};
        GetWindowRect(reinterpret_cast<HWND>(SendMessageW(instruments(), LVM_GETHEADER, 0, 0)),
                      &header);
        return {header.left + 20, header.bottom + 8};
    }

    // Runs File > Export and returns the exported text in UTF-8.
    std::string exported() const {
        command(ID_FILE_EXPORT);
        std::ifstream file(std::string(m_export.begin(), m_export.end()), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    static BOOL CALLBACK findWindow(HWND window, LPARAM station) {
        auto& self = *reinterpret_cast<Workstation*>(station);
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        wchar_t name[32] = L"";
        GetClassNameW(window, name, 32);
        const bool isKnown =
            std::wstring(name) == L"Workstation" || std::wstring(name) == L"#32770";
        if (process == self.m_process.dwProcessId && isKnown) self.m_window = window;
        return !self.m_window;
    }

    // Returns a control in the pane of class `pane`. `index` is the zero-based position of the
    // control among the controls of class `name` in this pane.
    HWND control(const wchar_t* pane, const wchar_t* name, int index) const {
        const HWND parent = FindWindowExW(m_window, nullptr, pane, nullptr);
        HWND found = nullptr;
        for (int i = 0; i <= index; ++i) found = FindWindowExW(parent, found, name, nullptr);
        return found;
    }

    GUITHREADINFO threadInfo() const {
        GUITHREADINFO info{};
        info.cbSize = sizeof info;
        GetGUIThreadInfo(GetWindowThreadProcessId(m_window, nullptr), &info);
        return info;
    }

    PROCESS_INFORMATION m_process{};
    HANDLE m_job = nullptr;
    HWND m_window = nullptr;
    std::wstring m_export;
};
