#include <doctest/doctest.h>

#include <memory>
#include <utility>

#include "clipboard/CDataObject.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/OleApartment.h"
#include "tests/support/PeerProcess.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

constexpr wchar_t kMutexName[] = L"{72A389D5-CB6C-4e1e-A997-4D162A44E9D8}";
constexpr wchar_t kPeer[] = L"clipboard_peer.exe";

bool mutexExists() {
    const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, kMutexName);
    if (mutex) CloseHandle(mutex);
    return mutex != nullptr;
}

bool waitOnOtherThread(unsigned long timeoutMs) {
    return onAnotherThread(
        [timeoutMs] { return CDataObject::WaitForCopyProcessEnding(timeoutMs); });
}

// A thread that runs tasks one after another.
class Worker {
public:
    ~Worker() {
        run(nullptr);
        m_thread.reset();
        CloseHandle(m_hasTask);
        CloseHandle(m_done);
    }

    // Runs the task on the worker thread and returns when the task has ended.
    void run(void (*task)()) {
        m_task = task;
        SetEvent(m_hasTask);
        WaitForSingleObject(m_done, INFINITE);
    }

private:
    void runTasks() {
        for (;;) {
            WaitForSingleObject(m_hasTask, INFINITE);
            auto* const task = m_task;
            if (task) task();
            SetEvent(m_done);
            if (!task) return;
        }
    }

    const HANDLE m_hasTask = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    const HANDLE m_done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    void (*m_task)() = nullptr;
    std::unique_ptr<Thread> m_thread = std::make_unique<Thread>([this] { runTasks(); });
};

TEST_CASE("The library starts without clipboard state") {
    PeerProcess peer(kPeer, L"initial-state");

    CHECK(peer.readLine() == "plain");
}

TEST_CASE("WaitForCopyProcessEnding returns true immediately if no copy operation has begun") {
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
    CHECK(CDataObject::WaitForCopyProcessEnding(0));
    CHECK(CDataObject::WaitForCopyProcessEnding(INFINITE));
    CHECK_FALSE(mutexExists());
}

TEST_CASE("The mutex exists from the first BeginCopyProcess to the last EndCopyProcess") {
    CDataObject::BeginCopyProcess();

    CHECK(CDataObject::s_lMutexRefCount == 1);
    CHECK(CDataObject::hMutexClipboardCopy != INVALID_HANDLE_VALUE);
    CHECK(mutexExists());

    CDataObject::EndCopyProcess();

    CHECK(CDataObject::s_lMutexRefCount == 0);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
    CHECK_FALSE(mutexExists());
}

TEST_CASE(
    "WaitForCopyProcessEnding returns false after the timeout if the copy operation does not end") {
    CDataObject::BeginCopyProcess();
    const ULONGLONG start = GetTickCount64();

    CHECK_FALSE(waitOnOtherThread(100));

    CHECK(GetTickCount64() - start >= 90);
    CHECK_FALSE(waitOnOtherThread(0));
    CDataObject::EndCopyProcess();
}

TEST_CASE("WaitForCopyProcessEnding returns true when the copy operation ends") {
    CDataObject::BeginCopyProcess();
    const HANDLE about = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bool ended = false;
    {
        const Thread waiting([&] {
            SetEvent(about);
            ended = CDataObject::WaitForCopyProcessEnding(30000);
        });
        WaitForSingleObject(about, INFINITE);

        CDataObject::EndCopyProcess();
    }
    CloseHandle(about);

    CHECK(ended);
    CHECK(waitOnOtherThread(0));
}

TEST_CASE("A thread does not wait for its own copy operation and keeps the mutex") {
    CDataObject::BeginCopyProcess();

    CHECK(CDataObject::WaitForCopyProcessEnding(0));
    CHECK(CDataObject::WaitForCopyProcessEnding(INFINITE));

    CHECK_FALSE(waitOnOtherThread(0));
    CDataObject::EndCopyProcess();
}

TEST_CASE("Copy operations can be nested on one thread") {
    CDataObject::BeginCopyProcess();
    CDataObject::BeginCopyProcess();
    const HANDLE mutex = CDataObject::hMutexClipboardCopy;
    CHECK(CDataObject::s_lMutexRefCount == 2);

    CDataObject::EndCopyProcess();

    CHECK(CDataObject::s_lMutexRefCount == 1);
    CHECK(CDataObject::hMutexClipboardCopy == mutex);
    CHECK_FALSE(waitOnOtherThread(0));  // one copy operation has not ended
    CDataObject::EndCopyProcess();
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
}

TEST_CASE("A successful wait releases the mutex for the next wait") {
    Worker worker;
    CDataObject::BeginCopyProcess();
    worker.run(&CDataObject::BeginCopyProcess);  // the worker does not own the mutex
    CDataObject::EndCopyProcess();
    REQUIRE(CDataObject::s_lMutexRefCount == 1);

    Worker first;
    first.run([] { CHECK(CDataObject::WaitForCopyProcessEnding(0)); });
    CHECK(waitOnOtherThread(0));

    worker.run(&CDataObject::EndCopyProcess);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
}

TEST_CASE("Only one wait returns false after a thread ended during its copy operation") {
    onAnotherThread([] {
        CDataObject::BeginCopyProcess();
        return 0;
    });
    REQUIRE(CDataObject::s_lMutexRefCount == 1);

    Worker waiter;
    waiter.run([] { CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(0)); });
    CHECK(waitOnOtherThread(0));  // the first wait has released the abandoned mutex

    CDataObject::EndCopyProcess();
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
}

TEST_CASE("EndCopyProcess without a BeginCopyProcess does nothing") {
    CDataObject::EndCopyProcess();

    CHECK(CDataObject::s_lMutexRefCount == 0);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
    CDataObject::BeginCopyProcess();
    CHECK_FALSE(waitOnOtherThread(0));
    CDataObject::EndCopyProcess();
}

HANDLE WINAPI refuseMutex(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) { return nullptr; }

TEST_CASE("A copy operation begins and ends even if the mutex cannot be created") {
    const ReplacedImport noMutex("CreateMutexW", &refuseMutex);

    CDataObject::BeginCopyProcess();

    CHECK(CDataObject::hMutexClipboardCopy == nullptr);
    CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(0));
    CDataObject::EndCopyProcess();
    CHECK(CDataObject::s_lMutexRefCount == 0);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
}

TEST_CASE("Copy operations on many threads leave a count of zero and no open handle") {
    onThreads(8, [] {
        for (int i = 0; i < 500; ++i) {
            CDataObject::BeginCopyProcess();
            CDataObject::WaitForCopyProcessEnding(0);
            CDataObject::EndCopyProcess();
        }
    });

    CHECK(CDataObject::s_lMutexRefCount == 0);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
    CHECK_FALSE(mutexExists());
}

TEST_CASE("WaitForCopyProcessEnding waits for another process only after BeginCopyProcess") {
    PeerProcess peer(kPeer, L"copy");
    REQUIRE(peer.readLine() == "begun");
    // This process has not called BeginCopyProcess.
    CHECK(CDataObject::WaitForCopyProcessEnding(0));

    CDataObject::BeginCopyProcess();

    CHECK(CDataObject::s_lMutexRefCount == 1);
    CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(0));
    CHECK(peer.finish() == 0);
    CHECK(CDataObject::WaitForCopyProcessEnding(30000));
    CDataObject::EndCopyProcess();
}

// --- Term

// Replaces the library's global interface table until the end of the scope.
class ScopedTable {
public:
    explicit ScopedTable(IGlobalInterfaceTable* table)
        : m_saved(std::exchange(CDataObject::m_pIglobalInterfaceTable, table)) {}
    ~ScopedTable() { CDataObject::m_pIglobalInterfaceTable = m_saved; }

private:
    IGlobalInterfaceTable* const m_saved;
};

class CountingTable : public Counting<IGlobalInterfaceTable> {
public:
    STDMETHODIMP RegisterInterfaceInGlobal(IUnknown*, REFIID, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP RevokeInterfaceFromGlobal(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetInterfaceFromGlobal(DWORD, REFIID, void**) override { return E_NOTIMPL; }
};

TEST_CASE("Term returns 1 if the clipboard was flushed and there was no table") {
    const OleApartment ole;
    const ScopedTable scopedTable(nullptr);

    CHECK(CDataObject::Term() == 1);

    CHECK(CDataObject::m_pIglobalInterfaceTable == nullptr);
}

TEST_CASE("Term releases the table and keeps the pointer") {
    const OleApartment ole;
    CountingTable table;
    table.AddRef();
    const ScopedTable scopedTable(&table);

    CHECK(CDataObject::Term() == 1);

    CHECK(table.references() == 0);
    CHECK(CDataObject::m_pIglobalInterfaceTable == &table);
}

TEST_CASE("Term returns 0 if there are other references to the table") {
    const OleApartment ole;
    CountingTable table;
    table.AddRef();
    table.AddRef();
    const ScopedTable scopedTable(&table);

    CHECK(CDataObject::Term() == 0);

    CHECK(table.references() == 1);
}

TEST_CASE("Term releases the table even if the clipboard cannot be flushed") {
    CountingTable table;
    table.AddRef();
    const ScopedTable scopedTable(&table);

    // The clipboard cannot be flushed on a thread that has not called OleInitialize.
    CHECK(onAnotherThread([] { return CDataObject::Term(); }) == 0);

    CHECK(table.references() == 0);
}

// Skipped under Wine, because Release always returns 1 for Wine's global interface table.
TEST_CASE("Term returns 1 for the system's table without other references" *
          doctest::skip(underWine())) {
    const OleApartment ole;
    const ScopedTable scopedTable(nullptr);
    CountingUnknown unknown;
    {
        const auto object = newDataObject();
        REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    }
    CHECK(CDataObject::Term() == 1);
}

TEST_CASE("Term does not end a copy operation") {
    const OleApartment ole;
    const ScopedTable scopedTable(nullptr);
    CDataObject::BeginCopyProcess();

    CDataObject::Term();

    CHECK(CDataObject::s_lMutexRefCount == 1);
    CHECK_FALSE(waitOnOtherThread(0));
    CDataObject::EndCopyProcess();
}

}  // namespace
