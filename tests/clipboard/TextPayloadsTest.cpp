#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/EndOfPage.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

// The results of QueryTextData. A length of -1 means that the call did not set the length.
template <class Character>
struct Text {
    HRESULT hr;
    bool isNull;
    std::basic_string<Character> text;  // the text before the first NUL
    long long length;
};

template <class Character>
Text<Character> queryText(const IDataObject& object, unsigned long cf) {
    Character garbage = 0;
    Character* text = &garbage;
    unsigned __int64 length = static_cast<unsigned __int64>(-1);
    const HRESULT hr = CDataObject::QueryTextData(object, cf, &text, &length);
    const std::unique_ptr<Character[]> owner(text);
    return {hr, !text, text ? text : std::basic_string<Character>(),
            static_cast<long long>(length)};
}

// Copies a string to memory that ends at an inaccessible page. Reading one byte past the string
// causes an access violation.
template <class Character>
class TextAtEndOfMemory {
public:
    explicit TextAtEndOfMemory(std::basic_string_view<Character> text)
        : m_memory(text.size() * sizeof(Character)), m_text(m_memory.put(text)) {}
    const Character* get() const { return m_text; }

private:
    EndOfPage m_memory;
    const Character* m_text;
};

// Replaces GlobalAlloc in the library: stores the requested flags and size, and fails.
UINT g_requestedFlags;
SIZE_T g_requestedBytes;
HGLOBAL WINAPI refuseToAllocate(UINT flags, SIZE_T bytes) {
    g_requestedFlags = flags;
    g_requestedBytes = bytes;
    return nullptr;
}

// --- Narrow text

TEST_CASE("SetTextData stores narrow text and its terminator") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat) == std::string("abc\0", 4));
}

TEST_CASE(
    "SetTextData stores the given number of bytes, or up to the first NUL for a negative length") {
    struct {
        const char* text;
        int length;
        std::string block;
    } const rows[] = {
        {"abcdef", 3, std::string("abc\0", 4)},    {"abc", 3, std::string("abc\0", 4)},
        {"abc", 0, std::string(1, '\0')},          {"", -1, std::string(1, '\0')},
        {"ab\0cd", 5, std::string("ab\0cd\0", 6)}, {"ab\0cd", INT_MIN, std::string("ab\0", 3)},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        CAPTURE(row.length);
        const auto object = newDataObject();
        CHECK(CDataObject::SetTextData(*object, kPrivateFormat, row.text, row.length) == S_OK);
        CHECK(blockOf(*object, kPrivateFormat) == row.block);
    }
}

TEST_CASE("SetTextData reads no byte past the given length") {
    const auto object = newDataObject();
    const TextAtEndOfMemory<char> narrow("abc");
    const TextAtEndOfMemory<wchar_t> wide(L"abc");

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, narrow.get(), 3) == S_OK);
    CHECK(CDataObject::SetTextData(*object, kOtherFormat, wide.get(), 3) == S_OK);

    CHECK(queryText<char>(*object, kPrivateFormat).text == "abc");
    CHECK(queryText<wchar_t>(*object, kOtherFormat).text == L"abc");
}

TEST_CASE("SetTextData rejects null text and does not call the data object") {
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) {
        FAIL("SetData was called");
        return S_OK;
    };

    CHECK(CDataObject::SetTextData(object, kPrivateFormat, static_cast<char*>(nullptr), -1) ==
          E_POINTER);
    CHECK(CDataObject::SetTextData(object, kPrivateFormat, static_cast<wchar_t*>(nullptr), 0) ==
          E_POINTER);
}

TEST_CASE("SetTextData passes a movable block without pUnkForRelease") {
    ForeignDataObject object;
    FORMATETC format{};
    STGMEDIUM medium{};
    bool released = false;
    object.onSetData = [&](const FORMATETC& f, STGMEDIUM& m, bool release) {
        format = f;
        medium = m;
        released = release;
        return S_OK;
    };

    CHECK(CDataObject::SetTextData(object, kPrivateFormat, "abc", -1) == S_OK);

    CHECK(format.cfFormat == kPrivateFormat);
    CHECK(format.tymed == TYMED_HGLOBAL);
    CHECK(medium.tymed == TYMED_HGLOBAL);
    CHECK(medium.pUnkForRelease == nullptr);
    CHECK(released);
    // the handle of a movable block is not its address
    CHECK(GlobalLock(medium.hGlobal) != medium.hGlobal);
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);
}

TEST_CASE("SetTextData frees its block once if the data object rejects it") {
    HGLOBAL block = nullptr;
    ForeignDataObject object;
    object.onSetData = [&block](const FORMATETC&, STGMEDIUM& medium, bool) {
        block = medium.hGlobal;
        return DV_E_FORMATETC;
    };

    CHECK(CDataObject::SetTextData(object, kPrivateFormat, "abc", -1) == DV_E_FORMATETC);
    CHECK_FALSE(isBlock(block));
    CHECK(CDataObject::SetTextData(object, kPrivateFormat, L"abc", -1) == DV_E_FORMATETC);
    CHECK_FALSE(isBlock(block));

    CHECK(blocksLeftBy([&object] {
              CDataObject::SetTextData(object, kPrivateFormat, "abc", -1);
              CDataObject::SetTextData(object, kPrivateFormat, L"abc", -1);
          }) == 0);
}

TEST_CASE("SetTextData frees a rejected block even if the data object has changed the medium") {
    HGLOBAL block = nullptr;
    ForeignDataObject object;
    object.onSetData = [&block](const FORMATETC&, STGMEDIUM& medium, bool) {
        block = medium.hGlobal;
        medium.tymed = TYMED_ISTREAM;
        medium.pstm = reinterpret_cast<IStream*>(8);
        return E_FAIL;
    };

    CHECK(CDataObject::SetTextData(object, kPrivateFormat, "abc", -1) == E_FAIL);

    CHECK_FALSE(isBlock(block));
}

TEST_CASE("SetTextData changes nothing if it cannot allocate the block") {
    const auto object = newDataObject();
    const ReplacedImport noMemory("GlobalAlloc", &refuseToAllocate);

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1) == E_OUTOFMEMORY);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "", 0) == E_OUTOFMEMORY);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == E_OUTOFMEMORY);

    CHECK(listOf(*object).empty());
}

TEST_CASE("SetTextData requests the memory that the maximum length requires") {
    const auto object = newDataObject();
    const ReplacedImport noMemory("GlobalAlloc", &refuseToAllocate);

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", INT_MAX) == E_OUTOFMEMORY);
    CHECK(g_requestedBytes == 0x80000000);
    CHECK(g_requestedFlags == 0x42);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", INT_MAX) == E_OUTOFMEMORY);
    CHECK(g_requestedBytes == 0x400000000);
    CHECK(g_requestedFlags == 0x42);
}

TEST_CASE("SetTextData frees its block when the data object runs out of memory") {
    const auto object = newDataObject();
    bool failed = true;
    for (long n = 1; failed; ++n) {
        CAPTURE(n);
        const auto attempt = [&object, n] {
            failNth(n);
            const HRESULT hr = resultOf(
                [&] { return CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1); });
            const bool fired = failureFired();
            failNth(0);
            return std::pair(hr, fired);
        };
        const auto [hr, fired] = attempt();
        failed = fired;
        CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
        CHECK(blocksLeftBy(attempt) == 0);
    }
}

TEST_CASE("QueryTextData counts the terminator because it reports the size of the block") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1) == S_OK);

    const auto result = queryText<char>(*object, kPrivateFormat);

    CHECK(result.hr == S_OK);
    CHECK(result.text == "abc");
    CHECK(result.length == 4);
}

TEST_CASE("QueryTextData counts the unused bytes after the text") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, std::string("abc\0\0\0\0\0", 8)) == S_OK);

    const auto result = queryText<char>(*object, kPrivateFormat);

    CHECK(result.text == "abc");
    CHECK(result.length == 8);
}

TEST_CASE("QueryTextData adds a terminator to text in a block without one") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abcd") == S_OK);
    char* text = nullptr;

    REQUIRE(CDataObject::QueryTextData(*object, kPrivateFormat, &text, nullptr) == S_OK);

    CHECK(std::string(text, 5) == std::string("abcd\0", 5));
    delete[] text;
}

TEST_CASE("QueryTextData reads an empty block as an empty string") {
    const SingleMediumObject movable(mediumOf(TYMED_HGLOBAL, newBlock("")));

    const auto result = queryText<char>(movable, kPrivateFormat);

    CHECK(result.hr == S_OK);
    CHECK_FALSE(result.isNull);
    CHECK(result.text.empty());
    CHECK(result.length == 0);
}

TEST_CASE("QueryTextData rejects a null output pointer") {
    const auto object = newDataObject();
    unsigned __int64 length = 7;

    CHECK(CDataObject::QueryTextData(*object, kPrivateFormat, static_cast<char**>(nullptr),
                                     &length) == E_POINTER);
    CHECK(CDataObject::QueryTextData(*object, kPrivateFormat, static_cast<wchar_t**>(nullptr),
                                     &length) == E_POINTER);

    CHECK(length == 7);
}

TEST_CASE("QueryTextData returns the data object's error code if it has no such text") {
    const auto object = newDataObject();
    CountingStream stream;
    stream.AddRef();
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    STGMEDIUM medium = mediumOf(TYMED_ISTREAM, &stream);
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);
    const ForeignDataObject refusing;

    const auto narrow = queryText<char>(*object, CF_TEXT);
    CHECK(narrow.hr == DV_E_CLIPFORMAT);
    CHECK(narrow.isNull);
    CHECK(narrow.length == -1);
    const auto wide = queryText<wchar_t>(*object, CF_TEXT);
    CHECK(wide.hr == DV_E_CLIPFORMAT);
    CHECK(wide.isNull);
    CHECK(wide.length == -1);
    CHECK(queryText<char>(refusing, CF_TEXT).hr == DV_E_FORMATETC);
}

TEST_CASE("A medium of another storage type is rejected and released") {
    CountingStream stream;
    const SingleMediumObject object(mediumOf(TYMED_ISTREAM, &stream));
    void* handle = &stream;
    HBITMAP bitmap = reinterpret_cast<HBITMAP>(&stream);

    stream.AddRef();
    CHECK(queryText<char>(object, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(stream.references() == 0);
    stream.AddRef();
    CHECK(queryText<wchar_t>(object, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(stream.references() == 0);
    stream.AddRef();
    CHECK(CDataObject::QueryHGLOBALData(object, kPrivateFormat, &handle) == E_INVALIDARG);
    CHECK(stream.references() == 0);
    CHECK(handle == nullptr);
    stream.AddRef();
    CHECK(CDataObject::QueryHBITMAPData(object, kPrivateFormat, &bitmap) == E_INVALIDARG);
    CHECK(stream.references() == 0);
    CHECK(bitmap == nullptr);
}

TEST_CASE("A medium without a handle is rejected") {
    const SingleMediumObject block(mediumOf(TYMED_HGLOBAL, nullptr));
    const SingleMediumObject gdi(mediumOf(TYMED_GDI, nullptr));
    const SingleMediumObject nothing(STGMEDIUM{});
    void* handle = nullptr;
    HBITMAP bitmap = nullptr;

    CHECK(queryText<char>(block, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(queryText<wchar_t>(block, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(CDataObject::QueryHGLOBALData(block, kPrivateFormat, &handle) == E_INVALIDARG);
    CHECK(CDataObject::QueryHBITMAPData(gdi, kPrivateFormat, &bitmap) == E_INVALIDARG);
    CHECK(queryText<char>(nothing, kPrivateFormat).hr == E_INVALIDARG);
}

TEST_CASE("A block that was freed before it was returned is rejected") {
    CountingUnknown owner;  // prevents ReleaseStgMedium from freeing the block again
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    GlobalFree(block);
    const SingleMediumObject object(mediumOf(TYMED_HGLOBAL, block, &owner));

    CHECK(queryText<char>(object, kPrivateFormat).hr == E_INVALIDARG);
}

TEST_CASE("A medium is not released if GetData fails") {
    CountingUnknown owner;
    CountingStream stream;
    const SingleMediumObject object(mediumOf(TYMED_ISTREAM, &stream, &owner), E_UNEXPECTED);
    void* handle = nullptr;
    HBITMAP bitmap = nullptr;

    CHECK(queryText<char>(object, kPrivateFormat).hr == E_UNEXPECTED);
    CHECK(queryText<wchar_t>(object, kPrivateFormat).hr == E_UNEXPECTED);
    CHECK(CDataObject::QueryHGLOBALData(object, kPrivateFormat, &handle) == E_UNEXPECTED);
    CHECK(CDataObject::QueryHBITMAPData(object, kPrivateFormat, &bitmap) == E_UNEXPECTED);

    CHECK(stream.references() == 0);
    CHECK(owner.references() == 0);
}

TEST_CASE("QueryTextData releases the medium when it succeeds") {
    CountingUnknown owner;
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    const SingleMediumObject object(mediumOf(TYMED_HGLOBAL, block, &owner));

    CHECK(queryText<char>(object, kPrivateFormat).text == "abc");

    CHECK(owner.references() == 0);
    CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
    GlobalFree(block);
}

TEST_CASE("QueryTextData releases the medium when memory runs out") {
    CountingUnknown owner;
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    const SingleMediumObject object(mediumOf(TYMED_HGLOBAL, block, &owner));
    char* text = nullptr;

    failNth(1);
    CHECK_THROWS_AS(CDataObject::QueryTextData(object, kPrivateFormat, &text, nullptr),
                    std::bad_alloc);
    failNth(0);

    CHECK(text == nullptr);
    CHECK(owner.references() == 0);
    CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
    GlobalFree(block);
}

// --- Wide text

TEST_CASE("SetTextData stores wide text with eight bytes for every character and the terminator") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == S_OK);

    std::string expected("a\0b\0c\0", 6);
    expected.resize(32);
    CHECK(blockOf(*object, kPrivateFormat) == expected);
}

TEST_CASE("SetTextData interprets the length of wide text as characters") {
    struct {
        const wchar_t* text;
        int length;
        std::wstring stored;
        size_t bytes;
    } const rows[] = {
        {L"abcdef", 3, L"abc", 32},
        {L"abc", 0, L"", 8},
        {L"", -1, L"", 8},
        {L"\u20AC", -1, L"\u20AC", 16},
    };
    for (const auto& row : rows) {
        CAPTURE(row.length);
        const auto object = newDataObject();
        CHECK(CDataObject::SetTextData(*object, kPrivateFormat, row.text, row.length) == S_OK);
        CHECK(queryText<wchar_t>(*object, kPrivateFormat).text == row.stored);
        CHECK(blockOf(*object, kPrivateFormat).size() == row.bytes);
    }
}

TEST_CASE("QueryTextData reports the block size in bytes as the length of wide text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == S_OK);

    const auto result = queryText<wchar_t>(*object, kPrivateFormat);

    CHECK(result.hr == S_OK);
    CHECK(result.text == L"abc");
    CHECK(result.length == 32);
}

TEST_CASE("QueryTextData fills wide text with zeros after the block") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, std::string("a\0b\0c", 5)) == S_OK);
    wchar_t* text = nullptr;
    unsigned __int64 length = 0;

    guardPages(true);  // new memory ends at an inaccessible page and is not zeroed
    const HRESULT hr = CDataObject::QueryTextData(*object, kPrivateFormat, &text, &length);
    guardPages(false);

    REQUIRE(hr == S_OK);
    CHECK(length == 5);
    CHECK(std::wstring(text, 6) == std::wstring(L"abc\0\0\0", 6));
    delete[] text;
}

// --- Narrow and wide text

TEST_CASE("QueryTextData copies the whole block even if long parts of it are zeros") {
    std::string block(40001, '\0');
    for (const std::size_t at : {std::size_t{0}, std::size_t{4095}, std::size_t{12288},
                                 std::size_t{24575}, std::size_t{40000}})
        block[at] = 'x';
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, block) == S_OK);

    char* narrow = nullptr;
    wchar_t* wide = nullptr;
    unsigned __int64 narrowLength = 0, wideLength = 0;
    REQUIRE(CDataObject::QueryTextData(*object, kPrivateFormat, &narrow, &narrowLength) == S_OK);
    REQUIRE(CDataObject::QueryTextData(*object, kPrivateFormat, &wide, &wideLength) == S_OK);
    const std::unique_ptr<char[]> narrowOwner(narrow);
    const std::unique_ptr<wchar_t[]> wideOwner(wide);

    CHECK(std::string(narrow, block.size()) == block);
    CHECK(narrow[narrowLength] == '\0');
    const auto bytes = reinterpret_cast<const char*>(wide);
    CHECK(std::string(bytes, block.size()) == block);
    const std::size_t wideBytes = (wideLength + 1) * sizeof(wchar_t);
    CHECK(std::all_of(bytes + wideLength, bytes + wideBytes, [](char c) { return c == '\0'; }));
}

TEST_CASE("SetCFTextData stores the text unchanged first and then as wide text") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, "caf\xE9", -1) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {CF_UNICODETEXT, TYMED_HGLOBAL}});
    CHECK(CDataObject::GetDataCount(*object) == 2);
    CHECK(queryText<char>(*object, CF_TEXT).text == "caf\xE9");
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"caf\u00E9");
}

TEST_CASE("SetCFUnicodeTextData stores the text unchanged first and then as narrow text") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFUnicodeTextData(*object, L"caf\u00E9 \u20AC", -1) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_UNICODETEXT, TYMED_HGLOBAL}, {CF_TEXT, TYMED_HGLOBAL}});
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"caf\u00E9 \u20AC");
    CHECK(queryText<char>(*object, CF_TEXT).text == "caf\xE9 \x80");
}

TEST_CASE("SetCFTextData and SetCFUnicodeTextData limit narrow and wide text to the given length") {
    for (const int length : {0, 3, 6}) {
        CAPTURE(length);
        const auto narrowFirst = newDataObject(), wideFirst = newDataObject();
        CHECK(CDataObject::SetCFTextData(*narrowFirst, "abcdef", length) == S_OK);
        CHECK(CDataObject::SetCFUnicodeTextData(*wideFirst, L"abcdef", length) == S_OK);
        for (IDataObject* const object : {narrowFirst.p, wideFirst.p}) {
            const auto count = static_cast<size_t>(length);
            CHECK(queryText<char>(*object, CF_TEXT).text == std::string("abcdef", count));
            CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text ==
                  std::wstring(L"abcdef", count));
        }
    }
}

TEST_CASE("The converted text ends at the first NUL within the given length") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, "ab\0cd", 5) == S_OK);

    CHECK(blockOf(*object, CF_TEXT) == std::string("ab\0cd\0", 6));
    CHECK(blockOf(*object, CF_UNICODETEXT).size() == 3 * 8);
}

TEST_CASE("SetCFTextData and SetCFUnicodeTextData require no terminator after the given length") {
    const auto object = newDataObject();
    const TextAtEndOfMemory<char> narrow("abc");
    const TextAtEndOfMemory<wchar_t> wide(L"xyz");

    CHECK(CDataObject::SetCFTextData(*object, narrow.get(), 3) == S_OK);
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"abc");
    CHECK(CDataObject::SetCFUnicodeTextData(*object, wide.get(), 3) == S_OK);
    CHECK(queryText<char>(*object, CF_TEXT).text == "xyz");
}

TEST_CASE("SetCFTextData and SetCFUnicodeTextData reject null text") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, nullptr, -1) == E_POINTER);
    CHECK(CDataObject::SetCFUnicodeTextData(*object, nullptr, -1) == E_POINTER);

    CHECK(listOf(*object).empty());
}

TEST_CASE("SetCFTextData and SetCFUnicodeTextData stop at the first format that is rejected") {
    using Set = HRESULT (*)(IDataObject&);
    struct {
        Set set;
        CLIPFORMAT first, second;
    } const rows[] = {
        {[](IDataObject& o) { return CDataObject::SetCFTextData(o, "abc", -1); }, CF_TEXT,
         CF_UNICODETEXT},
        {[](IDataObject& o) { return CDataObject::SetCFUnicodeTextData(o, L"abc", -1); },
         CF_UNICODETEXT, CF_TEXT},
    };
    for (const auto& row : rows) {
        CAPTURE(row.first);
        CLIPFORMAT refused = row.first;
        std::vector<CLIPFORMAT> queried;
        ForeignDataObject object;
        object.onSetData = [&](const FORMATETC& format, STGMEDIUM& medium, bool) -> HRESULT {
            queried.push_back(format.cfFormat);
            if (format.cfFormat == refused) return STG_E_MEDIUMFULL;
            ReleaseStgMedium(&medium);
            return S_OK;
        };

        CHECK(row.set(object) == STG_E_MEDIUMFULL);
        CHECK(queried == std::vector<CLIPFORMAT>{row.first});
        queried.clear();
        refused = row.second;
        CHECK(row.set(object) == STG_E_MEDIUMFULL);
        CHECK(queried == std::vector<CLIPFORMAT>{row.first, row.second});
    }
}

TEST_CASE("Storing and reading text leaks nothing") {
    CHECK(blocksLeftBy([] {
              const auto source = newDataObject(), target = newDataObject();
              CDataObject::SetCFTextData(*source, "abc", -1);
              CDataObject::CopyData(*source, *target, CF_UNICODETEXT);
              CHECK(queryText<wchar_t>(*target, CF_UNICODETEXT).text == L"abc");
          }) == 0);
}

}  // namespace
