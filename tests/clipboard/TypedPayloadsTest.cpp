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
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

// What a Query function of text handed out; -1 as length stands for "untouched".
template <class Character>
struct Text {
    HRESULT hr;
    bool isNull;
    std::basic_string<Character> text;  // up to the first NUL
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

// Text that ends where memory ends: reading one byte more is an access violation.
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

// A foreign object that answers every request with this medium.
class Answering : public ForeignDataObject {
public:
    explicit Answering(STGMEDIUM medium, HRESULT hr = S_OK) {
        onGetData = [medium, hr](const FORMATETC&, STGMEDIUM& received) {
            received = medium;
            return hr;
        };
    }
};

// Stands in for the library's GlobalAlloc: refuses and remembers what was asked for.
UINT g_askedFlags;
SIZE_T g_askedBytes;
HGLOBAL WINAPI refuseToAllocate(UINT flags, SIZE_T bytes) {
    g_askedFlags = flags;
    g_askedBytes = bytes;
    return nullptr;
}

// --- Formats

TEST_CASE("The format templates name one storage type and leave the rest plain") {
    struct {
        FORMATETC (*make)(unsigned long);
        DWORD tymed;
    } const rows[] = {{&CDataObject::formatHGlobal, 1},
                      {&CDataObject::formatIStream, 4},
                      {&CDataObject::formatGdi, 16}};
    for (const auto& row : rows) {
        CAPTURE(row.tymed);
        const FORMATETC format = row.make(0x0001C123);
        CHECK(format.cfFormat == 0xC123);
        CHECK(format.ptd == nullptr);
        CHECK(format.dwAspect == 1);
        CHECK(format.lindex == -1);
        CHECK(format.tymed == row.tymed);
    }
}

TEST_CASE("The presence tests ask for one format and pass the answer on") {
    using Accept = HRESULT (*)(IDataObject&, unsigned long);
    struct {
        const char* label;
        Accept accept;
        DWORD tymed;
    } const rows[] = {
        {"text", &CDataObject::AcceptTextData, TYMED_HGLOBAL},
        {"block", &CDataObject::AcceptHGLOBALData, TYMED_HGLOBAL},
        {"device-independent bitmap", &CDataObject::AcceptHDIBData, TYMED_HGLOBAL},
        {"interface", &CDataObject::AcceptIUnknownData, TYMED_HGLOBAL},
        {"bitmap", &CDataObject::AcceptHBITMAPData, TYMED_GDI},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ForeignDataObject object;
        FORMATETC asked{};
        HRESULT answer = S_OK;
        object.onQueryGetData = [&asked, &answer](const FORMATETC& format) {
            asked = format;
            return answer;
        };

        CHECK(row.accept(object, kPrivateFormat) == S_OK);
        answer = S_FALSE;
        CHECK(row.accept(object, kPrivateFormat) == S_FALSE);
        answer = DV_E_TYMED;
        CHECK(row.accept(object, kPrivateFormat) == DV_E_TYMED);

        CHECK(asked.cfFormat == kPrivateFormat);
        CHECK(asked.ptd == nullptr);
        CHECK(asked.dwAspect == DVASPECT_CONTENT);
        CHECK(asked.lindex == -1);
        CHECK(asked.tymed == row.tymed);
    }
}

// --- Narrow text

TEST_CASE("SetTextData stores narrow text and its terminator") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat) == std::string("abc\0", 4));
}

TEST_CASE("SetTextData stores as many bytes as it is told") {
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

TEST_CASE("SetTextData reads no byte behind the text that it is told") {
    const auto object = newDataObject();
    const TextAtEndOfMemory<char> narrow("abc");
    const TextAtEndOfMemory<wchar_t> wide(L"abc");

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, narrow.get(), 3) == S_OK);
    CHECK(CDataObject::SetTextData(*object, kOtherFormat, wide.get(), 3) == S_OK);

    CHECK(queryText<char>(*object, kPrivateFormat).text == "abc");
    CHECK(queryText<wchar_t>(*object, kOtherFormat).text == L"abc");
}

TEST_CASE("SetTextData refuses null text without asking the object") {
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) {
        FAIL("asked");
        return S_OK;
    };

    CHECK(CDataObject::SetTextData(object, kPrivateFormat, static_cast<char*>(nullptr), -1) ==
          E_POINTER);
    CHECK(CDataObject::SetTextData(object, kPrivateFormat, static_cast<wchar_t*>(nullptr), 0) ==
          E_POINTER);
}

TEST_CASE("SetTextData hands over a movable block without an owner") {
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
    CHECK(GlobalLock(medium.hGlobal) != medium.hGlobal);  // a movable block is not its own address
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);
}

TEST_CASE("A block that the object refuses is freed once") {
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

TEST_CASE("An object that refuses a block and scribbles on the medium does no harm") {
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

TEST_CASE("SetTextData without memory for the block changes nothing") {
    const auto object = newDataObject();
    const ReplacedImport noMemory("GlobalAlloc", &refuseToAllocate);

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1) == E_OUTOFMEMORY);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "", 0) == E_OUTOFMEMORY);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == E_OUTOFMEMORY);

    CHECK(listOf(*object).empty());
}

TEST_CASE("SetTextData asks for as much memory as the greatest length takes") {
    const auto object = newDataObject();
    const ReplacedImport noMemory("GlobalAlloc", &refuseToAllocate);

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, "abc", INT_MAX) == E_OUTOFMEMORY);
    CHECK(g_askedBytes == 0x80000000);
    CHECK(g_askedFlags == 0x42);
    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", INT_MAX) == E_OUTOFMEMORY);
    CHECK(g_askedBytes == 0x400000000);
    CHECK(g_askedFlags == 0x42);
}

TEST_CASE("SetTextData that runs out of memory in the object gives its block back") {
    const auto object = newDataObject();
    bool failed = true;
    for (long n = 1; failed; ++n) {
        CAPTURE(n);
        const auto attempt = [&object, n] {
            failNth(n);
            HRESULT hr = E_FAIL;
            try {
                hr = CDataObject::SetTextData(*object, kPrivateFormat, "abc", -1);
            } catch (const std::bad_alloc&) {
                hr = E_OUTOFMEMORY;
            }
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

TEST_CASE("QueryTextData counts the slack behind the text") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, std::string("abc\0\0\0\0\0", 8)) == S_OK);

    const auto result = queryText<char>(*object, kPrivateFormat);

    CHECK(result.text == "abc");
    CHECK(result.length == 8);
}

TEST_CASE("QueryTextData terminates a block that does not") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abcd") == S_OK);
    char* text = nullptr;

    REQUIRE(CDataObject::QueryTextData(*object, kPrivateFormat, &text, nullptr) == S_OK);

    CHECK(std::string(text, 5) == std::string("abcd\0", 5));
    delete[] text;
}

TEST_CASE("QueryTextData reads a block of no bytes as the empty text") {
    const Answering movable(mediumOf(TYMED_HGLOBAL, newBlock("")));

    const auto result = queryText<char>(movable, kPrivateFormat);

    CHECK(result.hr == S_OK);
    CHECK_FALSE(result.isNull);
    CHECK(result.text.empty());
    CHECK(result.length == 0);
}

TEST_CASE("QueryTextData refuses a null output") {
    const auto object = newDataObject();
    unsigned __int64 length = 7;

    CHECK(CDataObject::QueryTextData(*object, kPrivateFormat, static_cast<char**>(nullptr),
                                     &length) == E_POINTER);
    CHECK(CDataObject::QueryTextData(*object, kPrivateFormat, static_cast<wchar_t**>(nullptr),
                                     &length) == E_POINTER);

    CHECK(length == 7);
}

TEST_CASE("QueryTextData passes on why the object has no such text") {
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

TEST_CASE("A medium of another storage type is refused and released") {
    CountingStream stream;
    const Answering object(mediumOf(TYMED_ISTREAM, &stream));
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

TEST_CASE("A medium without a handle is refused") {
    const Answering block(mediumOf(TYMED_HGLOBAL, nullptr));
    const Answering gdi(mediumOf(TYMED_GDI, nullptr));
    const Answering nothing(STGMEDIUM{});
    void* handle = nullptr;
    HBITMAP bitmap = nullptr;

    CHECK(queryText<char>(block, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(queryText<wchar_t>(block, kPrivateFormat).hr == E_INVALIDARG);
    CHECK(CDataObject::QueryHGLOBALData(block, kPrivateFormat, &handle) == E_INVALIDARG);
    CHECK(CDataObject::QueryHBITMAPData(gdi, kPrivateFormat, &bitmap) == E_INVALIDARG);
    CHECK(queryText<char>(nothing, kPrivateFormat).hr == E_INVALIDARG);
}

TEST_CASE("A block that was freed before it was handed out is refused") {
    CountingUnknown owner;  // so that the release of the medium does not free it again
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    GlobalFree(block);
    const Answering object(mediumOf(TYMED_HGLOBAL, block, &owner));

    CHECK(queryText<char>(object, kPrivateFormat).hr == E_INVALIDARG);
}

TEST_CASE("What a failing GetData wrote into the medium is not released") {
    CountingUnknown owner;
    CountingStream stream;
    const Answering object(mediumOf(TYMED_ISTREAM, &stream, &owner), E_UNEXPECTED);
    void* handle = nullptr;
    HBITMAP bitmap = nullptr;

    CHECK(queryText<char>(object, kPrivateFormat).hr == E_UNEXPECTED);
    CHECK(queryText<wchar_t>(object, kPrivateFormat).hr == E_UNEXPECTED);
    CHECK(CDataObject::QueryHGLOBALData(object, kPrivateFormat, &handle) == E_UNEXPECTED);
    CHECK(CDataObject::QueryHBITMAPData(object, kPrivateFormat, &bitmap) == E_UNEXPECTED);

    CHECK(stream.references() == 0);
    CHECK(owner.references() == 0);
}

TEST_CASE("QueryTextData gives the medium back when it succeeds") {
    CountingUnknown owner;
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    const Answering object(mediumOf(TYMED_HGLOBAL, block, &owner));

    CHECK(queryText<char>(object, kPrivateFormat).text == "abc");

    CHECK(owner.references() == 0);
    CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
    GlobalFree(block);
}

TEST_CASE("QueryTextData gives the medium back when memory runs out") {
    CountingUnknown owner;
    owner.AddRef();
    const HGLOBAL block = newBlock("abc");
    const Answering object(mediumOf(TYMED_HGLOBAL, block, &owner));
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

TEST_CASE("SetTextData gives wide text eight bytes for every character and the terminator") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == S_OK);

    std::string expected("a\0b\0c\0", 6);
    expected.resize(32);
    CHECK(blockOf(*object, kPrivateFormat) == expected);
}

TEST_CASE("SetTextData counts wide text in characters") {
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

TEST_CASE("QueryTextData reports the bytes of the block as the length of wide text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, kPrivateFormat, L"abc", -1) == S_OK);

    const auto result = queryText<wchar_t>(*object, kPrivateFormat);

    CHECK(result.hr == S_OK);
    CHECK(result.text == L"abc");
    CHECK(result.length == 32);
}

TEST_CASE("QueryTextData fills wide text with zeros behind the block") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, std::string("a\0b\0c", 5)) == S_OK);
    wchar_t* text = nullptr;
    unsigned __int64 length = 0;

    guardPages(true);  // the array ends at an inaccessible page and is full of rubbish at first
    const HRESULT hr = CDataObject::QueryTextData(*object, kPrivateFormat, &text, &length);
    guardPages(false);

    REQUIRE(hr == S_OK);
    CHECK(length == 5);
    CHECK(std::wstring(text, 6) == std::wstring(L"abc\0\0\0", 6));
    delete[] text;
}

// --- Text in both widths

TEST_CASE("QueryTextData keeps the whole block where long stretches of it are zeros") {
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

TEST_CASE("SetCFTextData stores the text as it is and then wide") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, "caf\xE9", -1) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {CF_UNICODETEXT, TYMED_HGLOBAL}});
    CHECK(CDataObject::GetDataCount(*object) == 2);
    CHECK(queryText<char>(*object, CF_TEXT).text == "caf\xE9");
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"caf\u00E9");
}

TEST_CASE("SetCFUnicodeTextData stores the text as it is and then narrow") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFUnicodeTextData(*object, L"caf\u00E9 \u20AC", -1) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_UNICODETEXT, TYMED_HGLOBAL}, {CF_TEXT, TYMED_HGLOBAL}});
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"caf\u00E9 \u20AC");
    CHECK(queryText<char>(*object, CF_TEXT).text == "caf\xE9 \x80");
}

TEST_CASE("Both widths hold as much of the text as is told") {
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

TEST_CASE("The converted text ends at the first NUL of the counted text") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, "ab\0cd", 5) == S_OK);

    CHECK(blockOf(*object, CF_TEXT) == std::string("ab\0cd\0", 6));
    CHECK(blockOf(*object, CF_UNICODETEXT).size() == 3 * 8);
}

TEST_CASE("Text in both widths needs no terminator behind the counted text") {
    const auto object = newDataObject();
    const TextAtEndOfMemory<char> narrow("abc");
    const TextAtEndOfMemory<wchar_t> wide(L"xyz");

    CHECK(CDataObject::SetCFTextData(*object, narrow.get(), 3) == S_OK);
    CHECK(queryText<wchar_t>(*object, CF_UNICODETEXT).text == L"abc");
    CHECK(CDataObject::SetCFUnicodeTextData(*object, wide.get(), 3) == S_OK);
    CHECK(queryText<char>(*object, CF_TEXT).text == "xyz");
}

TEST_CASE("Text in both widths is refused when it is null") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetCFTextData(*object, nullptr, -1) == E_POINTER);
    CHECK(CDataObject::SetCFUnicodeTextData(*object, nullptr, -1) == E_POINTER);

    CHECK(listOf(*object).empty());
}

TEST_CASE("Text in both widths stops at the first refusal") {
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
        std::vector<CLIPFORMAT> asked;
        ForeignDataObject object;
        object.onSetData = [&](const FORMATETC& format, STGMEDIUM& medium, bool) -> HRESULT {
            asked.push_back(format.cfFormat);
            if (format.cfFormat == refused) return STG_E_MEDIUMFULL;
            ReleaseStgMedium(&medium);
            return S_OK;
        };

        CHECK(row.set(object) == STG_E_MEDIUMFULL);
        CHECK(asked == std::vector<CLIPFORMAT>{row.first});
        asked.clear();
        refused = row.second;
        CHECK(row.set(object) == STG_E_MEDIUMFULL);
        CHECK(asked == std::vector<CLIPFORMAT>{row.first, row.second});
    }
}

// --- Blocks and device-independent bitmaps

using SetHandle = HRESULT (*)(IDataObject&, unsigned long, void*, int);
using QueryHandle = HRESULT (*)(const IDataObject&, unsigned long, void**);
struct HandleFunctions {
    const char* label;
    SetHandle set;
    QueryHandle query;
};
const HandleFunctions kHandleFunctions[] = {
    {"block", &CDataObject::SetHGLOBALData, &CDataObject::QueryHGLOBALData},
    {"device-independent bitmap", &CDataObject::SetHDIBData, &CDataObject::QueryHDIBData},
};

TEST_CASE("A block travels to a duplicate that the receiver owns") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        auto object = newDataObject();
        const HGLOBAL block = newBlock("abc");
        void* received = nullptr;

        CHECK(functions.set(*object, kPrivateFormat, block, TRUE) == S_OK);
        CHECK(functions.query(*object, kPrivateFormat, &received) == S_OK);

        CHECK(received != block);
        object.Release();
        CHECK(bytesOf(received) == "abc");
        CHECK(GlobalFree(received) == nullptr);
    }
}

TEST_CASE("A block that is not released to the object stays with its caller") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        const auto object = newDataObject();
        const HGLOBAL block = newBlock("abc");

        CHECK(functions.set(*object, kPrivateFormat, block, FALSE) == S_OK);

        CHECK(GlobalFree(block) == nullptr);
        CHECK(blockOf(*object, kPrivateFormat) == "abc");
    }
}

TEST_CASE("A block is offered to the object as it is with the caller's wish") {
    for (const auto& functions : kHandleFunctions) {
        for (const BOOL release : {TRUE, FALSE}) {
            CAPTURE(functions.label);
            CAPTURE(release);
            const HGLOBAL block = newBlock("abc");
            ForeignDataObject object;
            STGMEDIUM offered{};
            FORMATETC format{};
            bool released = !release;
            object.onSetData = [&](const FORMATETC& f, STGMEDIUM& medium, bool r) {
                format = f;
                offered = medium;
                released = r;
                return E_NOTIMPL;
            };

            CHECK(functions.set(object, kPrivateFormat, block, release) == E_NOTIMPL);

            CHECK(format.cfFormat == kPrivateFormat);
            CHECK(format.tymed == TYMED_HGLOBAL);
            CHECK(offered.tymed == TYMED_HGLOBAL);
            CHECK(offered.hGlobal == block);
            CHECK(offered.pUnkForRelease == nullptr);
            CHECK(released == (release != FALSE));
            CHECK(GlobalFree(block) == nullptr);  // refused: still the caller's
        }
    }
}

TEST_CASE("A null block is refused") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        const auto object = newDataObject();
        CHECK(functions.set(*object, kPrivateFormat, nullptr, TRUE) == E_INVALIDARG);
        CHECK(functions.query(*object, kPrivateFormat, nullptr) == E_POINTER);
        CHECK(listOf(*object).empty());
    }
}

TEST_CASE("A block that is not there leaves a null handle") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        int garbage = 0;
        void* received = &garbage;
        CHECK(functions.query(*newDataObject(), kPrivateFormat, &received) == DV_E_CLIPFORMAT);
        CHECK(received == nullptr);
    }
}

TEST_CASE("QueryHGLOBALData gives the medium back") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abc") == S_OK);

    CHECK(blocksLeftBy([&object] {
              void* received = nullptr;
              CHECK(CDataObject::QueryHGLOBALData(*object, kPrivateFormat, &received) == S_OK);
              GlobalFree(received);
          }) == 0);
}

// --- Bitmaps

SIZE sizeOf(HBITMAP bitmap) {
    BITMAP description{};
    GetObjectW(bitmap, sizeof description, &description);
    return {description.bmWidth, description.bmHeight};
}

TEST_CASE("A bitmap travels to a copy that the receiver owns") {
    auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    HBITMAP received = nullptr;

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, bitmap, TRUE) == S_OK);
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, &received) == S_OK);

    CHECK(received != bitmap);
    object.Release();
    CHECK(sizeOf(bitmap).cx == 0);  // gone with the object
    CHECK(sizeOf(received).cx == 4);
    CHECK(sizeOf(received).cy == 3);
    CHECK(DeleteObject(received));
}

TEST_CASE("The copy of a bitmap is not the medium's own even when that stays alive") {
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    CountingUnknown owner;
    owner.AddRef();
    const Answering object(mediumOf(TYMED_GDI, bitmap, &owner));
    HBITMAP received = nullptr;

    CHECK(CDataObject::QueryHBITMAPData(object, CF_BITMAP, &received) == S_OK);

    CHECK(received != bitmap);
    CHECK(owner.references() == 0);
    CHECK(DeleteObject(received));
    CHECK(DeleteObject(bitmap));
}

TEST_CASE("A bitmap that is not released to the object stays with its caller") {
    const auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, bitmap, FALSE) == S_OK);

    CHECK(DeleteObject(bitmap));
    HBITMAP received = nullptr;
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, &received) == S_OK);
    CHECK(sizeOf(received).cx == 4);
    CHECK(DeleteObject(received));
}

TEST_CASE("A bitmap under another format than CF_BITMAP cannot be read") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetHBITMAPData(*object, kPrivateFormat, CreateBitmap(4, 3, 1, 32, nullptr),
                                        TRUE) == S_OK);
    HBITMAP received = nullptr;

    CHECK(CDataObject::AcceptHBITMAPData(*object, kPrivateFormat) == S_OK);
    CHECK(CDataObject::QueryHBITMAPData(*object, kPrivateFormat, &received) == E_INVALIDARG);

    CHECK(received == nullptr);
}

TEST_CASE("A null bitmap is refused") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, nullptr, TRUE) == E_INVALIDARG);
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, nullptr) == E_POINTER);

    CHECK(listOf(*object).empty());
}

TEST_CASE("A bitmap that the object refuses stays with its caller") {
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    ForeignDataObject refusing;

    CHECK(CDataObject::SetHBITMAPData(refusing, CF_BITMAP, bitmap, TRUE) == E_NOTIMPL);

    CHECK(DeleteObject(bitmap));
}

// --- Whole data objects

TEST_CASE("GetDataCount counts the formats of a data object") {
    const auto object = newDataObject();
    CHECK(CDataObject::GetDataCount(*object) == 0);

    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*object, CF_DIB, "abc") == S_OK);

    CHECK(CDataObject::GetDataCount(*object) == 2);
}

TEST_CASE("GetDataCount is 0 for an object without an enumerator") {
    ForeignDataObject object;
    CHECK(CDataObject::GetDataCount(object) == 0);

    object.onEnumFormats = [](IEnumFORMATETC**) { return S_OK; };
    CHECK(CDataObject::GetDataCount(object) == 0);

    object.onEnumFormats = [](IEnumFORMATETC** enumerator) {
        *enumerator = reinterpret_cast<IEnumFORMATETC*>(8);
        return E_FAIL;
    };
    CHECK(CDataObject::GetDataCount(object) == 0);
}

TEST_CASE("GetDataCount stops at anything but S_OK and releases the enumerator") {
    for (const HRESULT end : {S_FALSE, E_FAIL, HRESULT{2}}) {
        CAPTURE(end);
        int given = 0;
        ForeignEnumerator enumerator;
        enumerator.onNext = [&given, end](FORMATETC&) { return given++ < 3 ? S_OK : end; };
        ForeignDataObject object;
        object.onEnumFormats = [&enumerator](IEnumFORMATETC** e) {
            return enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };

        CHECK(CDataObject::GetDataCount(object) == 3);

        CHECK(enumerator.references() == 0);
    }
}

TEST_CASE("GetDataCount frees the target devices that it is handed") {
    DVTARGETDEVICE device{};
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.ptd = &device;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);

    const long leftByEnumerator = blocksLeftBy([&object] {
        ATL::CComPtr<IEnumFORMATETC> enumerator;
        object->EnumFormatEtc(DATADIR_GET, &enumerator);
    });

    CHECK(blocksLeftBy([&object] { CDataObject::GetDataCount(*object); }) == leftByEnumerator);
}

// An object whose enumerator gives one format again and again.
class Endless : public ForeignDataObject {
public:
    explicit Endless(CLIPFORMAT cf) {
        m_enumerator.onNext = [cf](FORMATETC& format) {
            format = formatOf(cf, TYMED_HGLOBAL);
            return S_OK;
        };
        onEnumFormats = [this](IEnumFORMATETC** e) {
            return m_enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };
    }
    LONG references() const { return m_enumerator.references(); }

private:
    ForeignEnumerator m_enumerator;
};

TEST_CASE("An enumerator that never ends is left after every format with every storage type") {
    Endless object(CF_TEXT);
    const auto target = newDataObject();

    CHECK(CDataObject::GetDataCount(object) == 65536 * 7);
    CHECK(CDataObject::CopyData(object, *target, CF_DIB) == DV_E_CLIPFORMAT);

    CHECK(object.references() == 0);
}

TEST_CASE("CopyData gives the target a duplicate of its own") {
    auto source = newDataObject();
    const auto target = newDataObject();
    REQUIRE(setBlock(*source, CF_TEXT, "other") == S_OK);
    REQUIRE(setBlock(*source, kPrivateFormat, "abc") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == S_OK);

    source.Release();
    CHECK(listOf(*target) == Formats{{kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*target, kPrivateFormat) == "abc");
}

TEST_CASE("CopyData of a format that the source lacks leaves the target unchanged") {
    const auto source = newDataObject(), target = newDataObject();
    REQUIRE(setBlock(*source, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*target, kPrivateFormat, "kept") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == DV_E_CLIPFORMAT);

    CHECK(listOf(*target) == Formats{{kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*target, kPrivateFormat) == "kept");
}

TEST_CASE("CopyData takes the first of several storage types") {
    const auto source = newDataObject(), target = newDataObject();
    CountingStream stream;
    stream.AddRef();
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    STGMEDIUM medium = mediumOf(TYMED_ISTREAM, &stream);
    REQUIRE(source->SetData(&format, &medium, TRUE) == S_OK);
    REQUIRE(setBlock(*source, CF_TEXT, "abc") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, CF_TEXT) == S_OK);

    CHECK(listOf(*target) == Formats{{CF_TEXT, TYMED_ISTREAM}});
    CHECK(stream.references() == 2);
}

// An object that enumerates one format and answers GetData with a medium.
class Offering : public Answering {
public:
    Offering(const FORMATETC& format, STGMEDIUM medium, HRESULT hr = S_OK)
        : Answering(medium, hr), m_enumerator({format}) {
        onGetData = [this, answer = onGetData](const FORMATETC& requested, STGMEDIUM& received) {
            asked = requested;
            return answer(requested, received);
        };
        onEnumFormats = [this](IEnumFORMATETC** e) {
            return m_enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };
    }
    FORMATETC asked{};

private:
    ForeignEnumerator m_enumerator;
};

TEST_CASE("CopyData asks and stores with the format as it was enumerated") {
    CountingStream stream;
    stream.AddRef();
    const FORMATETC offered{kPrivateFormat, nullptr, DVASPECT_ICON, 7, TYMED_ISTREAM | TYMED_GDI};
    Offering source(offered, mediumOf(TYMED_ISTREAM, &stream));
    ForeignDataObject target;
    FORMATETC stored{};
    STGMEDIUM medium{};
    bool released = true;
    target.onSetData = [&](const FORMATETC& f, STGMEDIUM& m, bool r) {
        stored = f;
        medium = m;
        released = r;
        return HRESULT{3};
    };

    CHECK(CDataObject::CopyData(source, target, kPrivateFormat) == 3);

    for (const FORMATETC& format : {source.asked, stored}) {
        CHECK(format.cfFormat == kPrivateFormat);
        CHECK(format.dwAspect == DVASPECT_ICON);
        CHECK(format.lindex == 7);
        CHECK(format.tymed == (TYMED_ISTREAM | TYMED_GDI));
    }
    CHECK(medium.pstm == &stream);
    CHECK_FALSE(released);
    CHECK(stream.references() == 0);  // the medium went back whoever stored what
}

TEST_CASE("CopyData passes on why the source cannot enumerate") {
    ForeignDataObject source;
    const auto target = newDataObject();
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_NOTIMPL);

    source.onEnumFormats = [](IEnumFORMATETC** enumerator) {
        *enumerator = reinterpret_cast<IEnumFORMATETC*>(8);
        return E_ACCESSDENIED;
    };
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_ACCESSDENIED);

    source.onEnumFormats = [](IEnumFORMATETC**) { return S_OK; };
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_FAIL);
}

TEST_CASE("CopyData passes on why the source has no data and releases nothing then") {
    CountingStream stream;
    Offering source(formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    OLE_E_NOTRUNNING);
    const auto target = newDataObject();

    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == OLE_E_NOTRUNNING);

    CHECK(stream.references() == 0);
    CHECK(listOf(*target).empty());
}

TEST_CASE("CopyData passes on why the target refuses and releases the medium") {
    CountingStream stream;
    stream.AddRef();
    Offering source(formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream));
    ForeignDataObject target;
    target.onSetData = [](const FORMATETC&, STGMEDIUM& medium, bool) {
        medium = STGMEDIUM{};  // scribbled on: the medium is released all the same
        return STG_E_MEDIUMFULL;
    };

    CHECK(CDataObject::CopyData(source, target, CF_TEXT) == STG_E_MEDIUMFULL);

    CHECK(stream.references() == 0);
}

TEST_CASE("A format with a target device can be enumerated on the object it was copied to") {
    auto* const device = static_cast<DVTARGETDEVICE*>(CoTaskMemAlloc(sizeof(DVTARGETDEVICE)));
    *device = DVTARGETDEVICE{sizeof(DVTARGETDEVICE), 1, 2, 3, 4, {5}};
    CountingStream stream;
    stream.AddRef();
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    format.ptd = device;
    Offering source(format, mediumOf(TYMED_ISTREAM, &stream));
    const auto target = newDataObject();

    REQUIRE(CDataObject::CopyData(source, *target, CF_TEXT) == S_OK);

    ATL::CComPtr<IEnumFORMATETC> enumerator;
    REQUIRE(target->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
    FORMATETC listed{};
    REQUIRE(enumerator->Next(1, &listed, nullptr) == S_OK);
    CHECK(listed.ptd->tdExtDevmodeOffset == 4);
    CoTaskMemFree(listed.ptd);
    CoTaskMemFree(device);  // left to the target, which only points to it
}

TEST_CASE("Nothing of a text's journey stays behind") {
    CHECK(blocksLeftBy([] {
              const auto source = newDataObject(), target = newDataObject();
              CDataObject::SetCFTextData(*source, "abc", -1);
              CDataObject::CopyData(*source, *target, CF_UNICODETEXT);
              CHECK(queryText<wchar_t>(*target, CF_UNICODETEXT).text == L"abc");
          }) == 0);
}

}  // namespace
