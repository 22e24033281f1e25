#include <windows.h>

#include <ole2.h>

#include <atomic>

#include "clipboard/CDataObject.h"

HANDLE CDataObject::hMutexClipboardCopy = INVALID_HANDLE_VALUE;
LONG CDataObject::s_lMutexRefCount = 0;

namespace {

// The same in every process that loads the library, so that all share one mutex.
constexpr wchar_t kMutexName[] = L"{72A389D5-CB6C-4e1e-A997-4D162A44E9D8}";

// The handle is open from the first BeginCopyProcess to the matching last EndCopyProcess. No lock
// guards it: a wait that races with that last end may find it closed, and then answers false.
std::atomic_ref<HANDLE> sharedMutex() { return std::atomic_ref(CDataObject::hMutexClipboardCopy); }

}  // namespace

void CDataObject::BeginCopyProcess() {
    if (::InterlockedIncrement(&s_lMutexRefCount) == 1)
        sharedMutex() = ::CreateMutexW(nullptr, FALSE, kMutexName);
    // Whether the mutex was free is not asked: the copy starts even while another process holds it.
    ::WaitForSingleObject(sharedMutex(), 0);
}

void CDataObject::EndCopyProcess() {
    HANDLE mutex = sharedMutex();
    ::ReleaseMutex(mutex);
    // An end without a beginning leaves the count at 0: below it, no later beginning would open the
    // mutex.
    const std::atomic_ref count(s_lMutexRefCount);
    LONG open = count.load();
    do {
        if (open <= 0) return;
    } while (!count.compare_exchange_weak(open, open - 1));
    if (open != 1) return;
    // A copy process that begins right now on another thread has a handle of its own: that one
    // stays.
    const HANDLE ended = mutex;
    sharedMutex().compare_exchange_strong(mutex, INVALID_HANDLE_VALUE);
    ::CloseHandle(ended);
}

bool CDataObject::WaitForCopyProcessEnding(unsigned long timeoutMs) {
    const HANDLE mutex = sharedMutex();
    if (mutex == INVALID_HANDLE_VALUE) return true;

    const DWORD result = ::WaitForSingleObject(mutex, timeoutMs);
    // A mutex whose thread died is the waiter's from here on, too; it must not stay that for good.
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ::ReleaseMutex(mutex);
    return result == WAIT_OBJECT_0;
}

HRESULT CDataObject::Term() {
    const bool flushed = ::OleFlushClipboard() == S_OK;
    const bool released = !m_pIglobalInterfaceTable || m_pIglobalInterfaceTable->Release() == 0;
    return flushed && released ? 1 : 0;
}
