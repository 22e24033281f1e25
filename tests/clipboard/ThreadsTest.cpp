// Tests data objects that several apartments use, and programs that are terminated between
// BeginCopyProcess and EndCopyProcess.
#include <windows.h>

#include <doctest/doctest.h>
#include <ole2.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OleApartment.h"
#include "tests/support/PeerProcess.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

constexpr wchar_t kPeer[] = L"clipboard_peer.exe";

// Returns the CF_UNICODETEXT text of a data object. The object may be a proxy.
std::wstring textOf(const IDataObject& object) {
    wchar_t* text = nullptr;
    CDataObject::QueryTextData(object, CF_UNICODETEXT, &text, nullptr);
    const std::unique_ptr<wchar_t[]> owner(text);
    return text ? text : L"?";
}

// Dispatches calls from other apartments until all threads have ended.
void waitAndDispatch(const std::vector<std::unique_ptr<Thread>>& threads) {
    for (const auto& thread : threads) REQUIRE(pumpUntil(thread->handle()));
}

TEST_CASE("Many apartments read a data object through an interface payload") {
    const OleApartment ole;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*object, L"of the first apartment", -1) == S_OK);
    const auto carrier = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*carrier, kPrivateFormat, *object) == S_OK);
    std::atomic<long> wrong = 0, read = 0;
    const auto readInApartment = [&](DWORD kind) {
        const Apartment apartment(kind);
        for (int i = 0; i < 50; ++i) {
            ATL::CComPtr<IUnknown> unknown;
            ATL::CComPtr<IDataObject> proxy;
            if (CDataObject::QueryIUnknownData(*carrier, kPrivateFormat, &unknown) != S_OK ||
                unknown->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(&proxy)) !=
                    S_OK ||
                textOf(*proxy) != L"of the first apartment" ||
                CDataObject::GetDataCount(*proxy) != 2)
                ++wrong;
            ++read;
        }
    };
    std::vector<std::unique_ptr<Thread>> threads;
    for (const DWORD kind : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
        for (int i = 0; i < 3; ++i)
            threads.push_back(
                std::make_unique<Thread>([&readInApartment, kind] { readInApartment(kind); }));
    }
    waitAndDispatch(threads);

    CHECK(wrong == 0);
    CHECK(read == 300);
    testsupport::ignoreHandles();  // COM never closes its events for contended locks
}

TEST_CASE("Every apartment fills and reads its own data objects at the same time") {
    std::atomic<long> wrong = 0;
    onThreads(8, [&] {
        const Apartment apartment(COINIT_MULTITHREADED);
        for (int i = 0; i < 100; ++i) {
            const auto source = newDataObject(), target = newDataObject();
            const std::wstring text = std::to_wstring(::GetCurrentThreadId()) + L" " +
                                      std::to_wstring(i) + std::wstring(200, L'x');
            if (CDataObject::SetCFUnicodeTextData(*source, text.c_str(), -1) != S_OK ||
                CDataObject::CopyData(*source, *target, CF_UNICODETEXT) != S_OK ||
                textOf(*target) != text || CDataObject::GetDataCount(*source) != 2)
                ++wrong;
        }
    });

    CHECK(wrong == 0);
}

TEST_CASE(
    "After a process was killed while copying, one wait returns false and later ones succeed") {
    PeerProcess killed(kPeer, L"copy");
    REQUIRE(killed.readLine() == "begun");  // the peer owns the mutex
    PeerProcess otherPeer(kPeer, L"copy");
    REQUIRE(otherPeer.readLine() == "begun");
    CDataObject::BeginCopyProcess();
    CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(0));

    killed.kill();

    CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(30000));  // the mutex is abandoned
    CHECK(CDataObject::WaitForCopyProcessEnding(0));            // the first wait released the mutex
    CHECK(otherPeer.finish() == 0);
    CDataObject::EndCopyProcess();
    CHECK(CDataObject::s_lMutexRefCount == 0);
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);

    PeerProcess next(kPeer, L"copy");
    REQUIRE(next.readLine() == "begun");
    CDataObject::BeginCopyProcess();
    CHECK_FALSE(CDataObject::WaitForCopyProcessEnding(0));
    CHECK(next.finish() == 0);
    CHECK(CDataObject::WaitForCopyProcessEnding(30000));
    CDataObject::EndCopyProcess();
}

TEST_CASE("Copy operations of many processes end normally even if one process is killed") {
    constexpr int kPeers = 4;
    std::vector<std::unique_ptr<PeerProcess>> peers;
    for (int i = 0; i < kPeers; ++i) {
        peers.push_back(std::make_unique<PeerProcess>(kPeer, L"copy"));
        REQUIRE(peers.back()->readLine() == "begun");
    }
    CDataObject::BeginCopyProcess();
    peers[0]->kill();  // this peer owns the mutex
    for (int i = 1; i < kPeers; ++i) CHECK(peers[static_cast<std::size_t>(i)]->finish() == 0);

    CDataObject::WaitForCopyProcessEnding(30000);
    CHECK(CDataObject::WaitForCopyProcessEnding(0));
    CDataObject::EndCopyProcess();
    CHECK(CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE);
}

}  // namespace
