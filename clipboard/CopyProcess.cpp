#include <windows.h>

#include <ole2.h>

#include <utility>

#include "clipboard/CDataObject.h"
#include "platform/SlimLock.h"
#include "platform/UniqueHandle.h"

HANDLE CDataObject::hMutexClipboardCopy = INVALID_HANDLE_VALUE;
LONG CDataObject::s_lMutexRefCount = 0;

namespace {

// The same in every process that loads the library, so that all share one mutex.
constexpr wchar_t kMutexName[] = L"{72A389D5-CB6C-4e1e-A997-4D162A44E9D8}";

// Held while the count and the handle change together, never while waiting: otherwise a last end
// could close the handle of the beginning that follows it.
SRWLOCK s_lock = SRWLOCK_INIT;

}  // namespace

void CDataObject::BeginCopyProcess() {
    HANDLE mutex;
    {
        const platform::SlimLock lock(s_lock);
        if (::InterlockedIncrement(&s_lMutexRefCount) == 1)
            hMutexClipboardCopy = ::CreateMutexW(nullptr, FALSE, kMutexName);
        mutex = hMutexClipboardCopy;
    }
    // Whether the mutex was free is not asked: the copy starts even while another process holds it.
    ::WaitForSingleObject(mutex, 0);
}

void CDataObject::EndCopyProcess() {
    const platform::SlimLock lock(s_lock);
    // An end without a beginning changes nothing: below 0, no later beginning would open the mutex.
    if (s_lMutexRefCount <= 0) return;
    ::ReleaseMutex(hMutexClipboardCopy);
    if (::InterlockedDecrement(&s_lMutexRefCount) == 0)
        ::CloseHandle(std::exchange(hMutexClipboardCopy, INVALID_HANDLE_VALUE));
}

bool CDataObject::WaitForCopyProcessEnding(unsigned long timeoutMs) {
    platform::KernelHandle mutex;  // of this wait's own: a last end may close the shared one
    {
        const platform::SlimLock lock(s_lock);
        if (hMutexClipboardCopy == INVALID_HANDLE_VALUE) return true;
        const HANDLE process = ::GetCurrentProcess();
        ::DuplicateHandle(process, hMutexClipboardCopy, process, mutex.receive(), 0, FALSE,
                          DUPLICATE_SAME_ACCESS);
    }
    const DWORD result = ::WaitForSingleObject(mutex.get(), timeoutMs);
    // A mutex whose thread died is the waiter's from here on, too; it must not stay that for good.
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ::ReleaseMutex(mutex.get());
    return result == WAIT_OBJECT_0;
}

HRESULT CDataObject::Term() {
    const bool flushed = ::OleFlushClipboard() == S_OK;
    const bool released = !m_pIglobalInterfaceTable || m_pIglobalInterfaceTable->Release() == 0;
    return flushed && released ? 1 : 0;
}
