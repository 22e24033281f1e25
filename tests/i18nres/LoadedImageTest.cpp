#include "i18nres/LoadedImage.h"

#include <doctest/doctest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/SatelliteFolder.h"

namespace {

using i18nres::isInOneMappedFile;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr std::size_t kPage = 4096;
constexpr std::size_t kViewAlignment = 0x10000;  // the address of a view is a multiple of this size

// Maps a view of a file. The size of the view is kViewAlignment, so another view can begin where
// this view ends.
class View {
public:
    // Maps the view at `address`, or at any address if `address` is null.
    explicit View(void* address = nullptr) {
        m_folder.put(L"pages.bin", std::string(kViewAlignment, 'x'));
        const HANDLE file =
            ::CreateFileW(m_folder.file(L"pages.bin").c_str(), GENERIC_READ,
                          FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
        REQUIRE(file != INVALID_HANDLE_VALUE);
        const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_WRITECOPY, 0, 0, nullptr);
        ::CloseHandle(file);
        REQUIRE(mapping);
        m_data =
            static_cast<std::byte*>(::MapViewOfFileEx(mapping, FILE_MAP_COPY, 0, 0, 0, address));
        ::CloseHandle(mapping);
        REQUIRE(m_data);
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    ~View() { unmap(); }

    void unmap() {
        if (m_data) ::UnmapViewOfFile(m_data);
        m_data = nullptr;
    }
    void protect(std::size_t page, DWORD protection) {
        DWORD before;
        REQUIRE(::VirtualProtect(m_data + page * kPage, kPage, protection, &before));
    }
    std::byte* data() const { return m_data; }
    static constexpr std::size_t size() { return kViewAlignment; }

private:
    SatelliteFolder m_folder;
    std::byte* m_data = nullptr;
};

TEST_CASE("isInOneMappedFile accepts any part of a view") {
    const View view;

    CHECK(isInOneMappedFile(view.data(), view.size()));
    CHECK(isInOneMappedFile(view.data(), 1));
    CHECK(isInOneMappedFile(view.data() + view.size() - 1, 1));
    CHECK(isInOneMappedFile(view.data() + 5, kPage));
}

TEST_CASE("isInOneMappedFile accepts a library that is mapped as data or as code") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().string(1, L"Open"));
    const HMODULE asData =
        ::LoadLibraryExW(folder.file(L"ledger.dll").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    REQUIRE(asData);
    // If a library is loaded as a data file, the handle is the base address of the library plus 1.
    const auto* const mapped = reinterpret_cast<const std::byte*>(
        reinterpret_cast<std::uintptr_t>(asData) & ~std::uintptr_t{3});

    CHECK(isInOneMappedFile(mapped, 512));
    CHECK(isInOneMappedFile(i18nres::imageOf(::GetModuleHandleW(nullptr)).data(), kPage + 1));

    ::FreeLibrary(asData);
}

TEST_CASE("isInOneMappedFile accepts a block in several regions of one view") {
    View view;

    view.protect(1, PAGE_READONLY);
    view.protect(4, PAGE_READONLY);

    MEMORY_BASIC_INFORMATION first;
    REQUIRE(::VirtualQuery(view.data(), &first, sizeof first) == sizeof first);
    REQUIRE(first.RegionSize == kPage);
    CHECK(isInOneMappedFile(view.data(), view.size()));
}

TEST_CASE("isInOneMappedFile rejects a block with an unreadable page") {
    for (const DWORD protection : {DWORD{PAGE_NOACCESS}, DWORD{PAGE_READONLY | PAGE_GUARD}}) {
        View view;

        view.protect(4, protection);

        CHECK(isInOneMappedFile(view.data(), 4 * kPage));
        CHECK_FALSE(isInOneMappedFile(view.data(), 4 * kPage + 1));
        CHECK_FALSE(isInOneMappedFile(view.data(), view.size()));
        CHECK_FALSE(isInOneMappedFile(view.data() + 4 * kPage, 1));
    }
}

TEST_CASE("isInOneMappedFile rejects a block that extends past its view") {
    const View view;

    CHECK_FALSE(isInOneMappedFile(view.data(), view.size() + 1));
    CHECK_FALSE(isInOneMappedFile(view.data() + 1, view.size()));
    CHECK_FALSE(isInOneMappedFile(view.data() - 1, 2));
    CHECK_FALSE(isInOneMappedFile(view.data(), SIZE_MAX));
    CHECK_FALSE(isInOneMappedFile(view.data() + 1, SIZE_MAX));
    CHECK_FALSE(isInOneMappedFile(view.data() + 1, SIZE_MAX - 1));
}

TEST_CASE("isInOneMappedFile rejects a block that spans two views") {
    // Find two adjacent free address ranges.
    void* const range = ::VirtualAlloc(nullptr, 2 * kViewAlignment, MEM_RESERVE, PAGE_NOACCESS);
    REQUIRE(range);
    REQUIRE(::VirtualFree(range, 0, MEM_RELEASE));
    const View first(range);
    const View second(static_cast<std::byte*>(range) + kViewAlignment);

    CHECK(isInOneMappedFile(second.data(), second.size()));
    CHECK_FALSE(isInOneMappedFile(first.data(), first.size() + 1));
}

TEST_CASE("isInOneMappedFile rejects memory that is not a mapped file") {
    const auto heap = std::make_unique<std::byte[]>(100);
    const std::byte stack[100] = {};
    void* const pages = ::VirtualAlloc(nullptr, kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);

    for (const void* block : {static_cast<const void*>(heap.get()), static_cast<const void*>(stack),
                              static_cast<const void*>(pages), static_cast<const void*>(nullptr)}) {
        CHECK_FALSE(isInOneMappedFile(static_cast<const std::byte*>(block), 100));
        CHECK_FALSE(isInOneMappedFile(static_cast<const std::byte*>(block), 0));
    }
    ::VirtualFree(pages, 0, MEM_RELEASE);
}

TEST_CASE("isInOneMappedFile rejects a view that was freed") {
    View view;
    const std::byte* const data = view.data();
    REQUIRE(isInOneMappedFile(data, 1));

    view.unmap();

    CHECK_FALSE(isInOneMappedFile(data, 1));
}

TEST_CASE("isInOneMappedFile accepts an empty block at a readable address") {
    const View view;

    CHECK(isInOneMappedFile(view.data(), 0));
    CHECK(isInOneMappedFile(view.data() + view.size() - 1, 0));
    CHECK_FALSE(isInOneMappedFile(view.data() + view.size(), 0));
}

}  // namespace
