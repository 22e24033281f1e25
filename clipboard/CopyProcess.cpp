#include <windows.h>

#include <ole2.h>

#include <utility>

#include "clipboard/CDataObject.h"
#include "platform/SlimLock.h"
#include "platform/UniqueHandle.h"

HANDLE CDataObject::hMutexClipboardCopy = INVALID_HANDLE_VALUE;
LONG CDataObject::s_lMutexRefCount = 0;

namespace {

// All processes that load the library use this name, so they share one mutex.
constexpr wchar_t kMutexName[] = L"{72A389D5-CB6C-4e1e-A997-4D162A44E9D8}";

// Protects s_lMutexRefCount and hMutexClipboardCopy, so that both change together. Without the
// lock, EndCopyProcess could close a handle that another thread has just stored in
// BeginCopyProcess. No thread holds the lock while it waits for the mutex.
SRWLOCK s_lock = SRWLOCK_INIT;

}  // namespace

void CDataObject::BeginCopyProcess() {
    HANDLE mutex;
    {
        const platform::SlimLock lock(s_lock);
        if (++s_lMutexRefCount == 1)
            hMutexClipboardCopy = ::CreateMutexW(nullptr, FALSE, kMutexName);
        mutex = hMutexClipboardCopy;
    }
    // The result is ignored: a copy operation begins even if another thread or process owns the
    // mutex.
    ::WaitForSingleObject(mutex, 0);
}

void CDataObject::EndCopyProcess() {
    const platform::SlimLock lock(s_lock);
    // Ignore a call that has no matching call to BeginCopyProcess. If the count became negative,
    // the next call to BeginCopyProcess would not create the mutex.
    if (s_lMutexRefCount <= 0) return;
    ::ReleaseMutex(hMutexClipboardCopy);
    if (--s_lMutexRefCount == 0)
        ::CloseHandle(std::exchange(hMutexClipboardCopy, INVALID_HANDLE_VALUE));
}

bool CDataObject::WaitForCopyProcessEnding(unsigned long timeoutMs) {
    // Use a duplicate of the handle, because another thread may close the original handle in
    // EndCopyProcess.
    platform::KernelHandle mutex;
    {
        const platform::SlimLock lock(s_lock);
        if (hMutexClipboardCopy == INVALID_HANDLE_VALUE) return true;
        const HANDLE process = ::GetCurrentProcess();
        ::DuplicateHandle(process, hMutexClipboardCopy, process, mutex.receive(), 0, FALSE,
                          DUPLICATE_SAME_ACCESS);
    }
    const DWORD result = ::WaitForSingleObject(mutex.get(), timeoutMs);
    // This thread owns the mutex after WAIT_OBJECT_0 and also after WAIT_ABANDONED.
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ::ReleaseMutex(mutex.get());
    return result == WAIT_OBJECT_0;
}

HRESULT CDataObject::Term() {
    const bool flushed = ::OleFlushClipboard() == S_OK;
    const bool released = !m_pIglobalInterfaceTable || m_pIglobalInterfaceTable->Release() == 0;
    return flushed && released ? 1 : 0;
}
