#include "samples/clipboard_view/ClipboardPrograms.h"

#include <iterator>
#include <memory>
#include <type_traits>

namespace {

struct CloseProcess {
    void operator()(HANDLE process) const { ::CloseHandle(process); }
};
using Process = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseProcess>;

Program programOf(HWND window) {
    Program program;
    if (!window) return program;
    ::GetWindowThreadProcessId(window, &program.process);
    const Process process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, program.process));
    wchar_t path[1024];
    DWORD length = static_cast<DWORD>(std::size(path));
    if (!process || !::QueryFullProcessImageNameW(process.get(), 0, path, &length)) return program;
    const std::wstring whole(path, length);
    program.name = whole.substr(whole.find_last_of(L"\\/") + 1);
    return program;
}

}  // namespace

Program clipboardOwner() { return programOf(::GetClipboardOwner()); }

std::wstring describe(const Program& program) {
    if (program.process == 0) return L"no running program";
    const std::wstring process = L"process " + std::to_wstring(program.process);
    return program.name.empty() ? process : program.name + L" (" + process + L")";
}

std::wstring describeOpenClipboardProgram() {
    const HWND window = ::GetOpenClipboardWindow();
    if (!window) return L"a program without a window";
    const Program program = programOf(window);
    wchar_t title[128] = L"";
    ::GetWindowTextW(window, title, static_cast<int>(std::size(title)));
    return L"process " + std::to_wstring(program.process) + L", window \"" + title + L"\"" +
           (program.name.empty() ? L"" : L", of " + program.name);
}
