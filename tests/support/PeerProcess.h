#pragma once
// A second process that exchanges lines of text with a test. The lines synchronize the two
// processes, so no fixed delay is needed.
#include <windows.h>

#include <cstdio>
#include <string>

namespace testsupport {

class PeerProcess {
public:
    // Starts `program`, which must be in the same folder as the running program.
    PeerProcess(const std::wstring& program, const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE itsInput = nullptr, itsOutput = nullptr;
        CreatePipe(&itsInput, &m_toPeer, &inherited, 0);
        CreatePipe(&m_fromPeer, &itsOutput, &inherited, 0);
        SetHandleInformation(m_toPeer, HANDLE_FLAG_INHERIT, 0);
        SetHandleInformation(m_fromPeer, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = itsInput;
        startup.hStdOutput = itsOutput;
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        wchar_t self[MAX_PATH];
        GetModuleFileNameW(nullptr, self, MAX_PATH);
        const std::wstring path(self);
        std::wstring line =
            L"\"" + path.substr(0, path.rfind(L'\\') + 1) + program + L"\" " + arguments;
        PROCESS_INFORMATION info{};
        // On a busy machine, Wine sometimes fails to start an existing program.
        for (int attempt = 1; attempt <= 3 && !m_process; ++attempt) {
            if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                               &startup, &info)) {
                CloseHandle(info.hThread);
                m_process = info.hProcess;
            } else {
                std::fprintf(stderr, "attempt %d to start the peer: error %lu\n", attempt,
                             GetLastError());
            }
        }
        CloseHandle(itsInput);
        CloseHandle(itsOutput);
    }
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess() {
        finish();
        CloseHandle(m_fromPeer);
        CloseHandle(m_process);
    }

    HANDLE process() const { return m_process; }

    // Returns the next line that the peer writes, without the line ending. Returns an empty string
    // after the peer has closed its output.
    std::string readLine() {
        std::string line;
        char c;
        DWORD count;
        while (ReadFile(m_fromPeer, &c, 1, &count, nullptr) && count == 1 && c != '\n')
            if (c != '\r') line += c;
        return line;
    }

    void writeLine(std::string line) {
        line += '\n';
        DWORD written;
        WriteFile(m_toPeer, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }

    // Terminates the peer, and waits up to 30 seconds for it to end.
    void kill() {
        TerminateProcess(m_process, 1);
        WaitForSingleObject(m_process, 30000);
    }

    // Closes the peer's input, so that the peer ends. Waits up to 30 seconds for the peer to end.
    // @return The exit code of the peer, or STILL_ACTIVE if it has not ended.
    DWORD finish() {
        if (m_toPeer) CloseHandle(m_toPeer);
        m_toPeer = nullptr;
        DWORD code = 0;
        WaitForSingleObject(m_process, 30000);
        GetExitCodeProcess(m_process, &code);
        return code;
    }

private:
    HANDLE m_process = nullptr;
    HANDLE m_toPeer = nullptr;
    HANDLE m_fromPeer = nullptr;
};

}  // namespace testsupport
