#include "formats/FormatSym.h"

#include <doctest/doctest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;
using OrvexClipboard::FormatSym;

CLIPFORMAT formatId() { return static_cast<CLIPFORMAT>(FormatSym::GetClipboardID()); }

// Sets or removes the DALVOEXTKEY environment variable until the end of the scope.
class ExtKey {
public:
    explicit ExtKey(const wchar_t* value) {
        wchar_t old[100];
        if (GetEnvironmentVariableW(kName, old, 100)) m_old = old;
        SetEnvironmentVariableW(kName, value);
    }
    ExtKey(const ExtKey&) = delete;
    ExtKey& operator=(const ExtKey&) = delete;
    ~ExtKey() { SetEnvironmentVariableW(kName, m_old.empty() ? nullptr : m_old.c_str()); }

private:
    static constexpr wchar_t kName[] = L"DALVOEXTKEY";
    std::wstring m_old;
};

struct Imported {
    std::wstring type = L"(untouched)", code = L"(untouched)";
    HRESULT hr;

    Imported(IDataObject& object, bool onlyOwnFormat)
        : hr(FormatSym::ImportData(object, onlyOwnFormat, type, code)) {}
    explicit Imported(IDataObject& object) : Imported(object, false) {}
};

// Stores `record` in a data object, and returns the results of importing it.
Imported fromRecord(const char* record) {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, formatId(), record, -1) == S_OK);
    return Imported(*object);
}

std::wstring codeFromText(const wchar_t* text) {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, text, -1) == S_OK);
    return Imported(*object).code;
}

std::wstring typeFromRecord(const char* record) { return fromRecord(record).type; }

TEST_CASE("FormatSym exports a record and the code as plain text in both widths") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, false, L"X", L"abc.de") == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_HGLOBAL}),
                                         std::pair(int{CF_UNICODETEXT}, int{TYMED_HGLOBAL}),
                                         std::pair(int{CF_TEXT}, int{TYMED_HGLOBAL})});
    CHECK(blockOf(*object, formatId()) == std::string("Xabc.de") + '\0');
    CHECK(blockOf(*object, CF_TEXT) == std::string("abc.de") + '\0');
    CHECK(blockOf(*object, CF_UNICODETEXT).substr(0, 14) ==
          std::string("a\0b\0c\0.\0d\0e\0\0\0", 14));
}

TEST_CASE("FormatSym exports only its own format when onlyOwnFormat is true") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"X", L"abc.de") == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_HGLOBAL})});
}

TEST_CASE("FormatSym exports nothing in its own format without a type") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"", L"abc") == E_FAIL);

    CHECK(CDataObject::GetDataCount(*object) == 0);
}

TEST_CASE("FormatSym exports only plain text for a code without a type") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, false, L"", L"abc") == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{CF_UNICODETEXT}, int{TYMED_HGLOBAL}),
                                         std::pair(int{CF_TEXT}, int{TYMED_HGLOBAL})});
}

TEST_CASE("FormatSym exports a type of several characters unchanged") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"XYZ", L"abc") == S_OK);

    CHECK(blockOf(*object, formatId()) == std::string("XYZabc") + '\0');
}

TEST_CASE("FormatSym exports a type without a code") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"X", L"") == S_OK);

    CHECK(blockOf(*object, formatId()) == std::string("X") + '\0');
}

TEST_CASE("FormatSym exports records in the system's code page") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"\u20AC", L"caf\u00E9") == S_OK);

    CHECK(blockOf(*object, formatId()) == std::string("\x80"
                                                      "caf\xE9") +
                                              '\0');
}

TEST_CASE("FormatSym does not change the case when it exports") {
    const auto object = newDataObject();

    CHECK(FormatSym::ExportData(*object, true, L"x", L"aBc") == S_OK);

    CHECK(blockOf(*object, formatId()) == std::string("xaBc") + '\0');
}

TEST_CASE("FormatSym stores nothing if the system cannot convert the record") {
    const auto object = newDataObject();
    const ReplacedImport<decltype(::WideCharToMultiByte)> refusal(
        "WideCharToMultiByte",
        +[](UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) {
            SetLastError(ERROR_INVALID_FLAGS);
            return 0;
        });

    CHECK(FormatSym::ExportData(*object, true, L"X", L"\u65E5") == E_FAIL);
    CHECK(FormatSym::ExportData(*object, false, L"X", L"\u65E5") == E_FAIL);

    CHECK(CDataObject::GetDataCount(*object) == 0);
}

TEST_CASE("FormatSym exports no plain text if the data object rejects the record") {
    std::vector<int> refused;
    ForeignDataObject object;
    object.onSetData = [&refused](const FORMATETC& format, STGMEDIUM&, bool) {
        refused.push_back(format.cfFormat);
        return STG_E_MEDIUMFULL;
    };

    CHECK(FormatSym::ExportData(object, false, L"X", L"abc") == STG_E_MEDIUMFULL);

    CHECK(refused == std::vector<int>{formatId()});
}

TEST_CASE("FormatSym returns the error code of a data object that rejects the plain text") {
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC& format, STGMEDIUM& medium, bool) {
        if (format.cfFormat == CF_UNICODETEXT) return E_ACCESSDENIED;
        ReleaseStgMedium(&medium);
        return S_OK;
    };

    CHECK(FormatSym::ExportData(object, false, L"X", L"abc") == E_ACCESSDENIED);
}

TEST_CASE("FormatSym accepts a record") {
    const auto object = newDataObject();
    REQUIRE(FormatSym::ExportData(*object, true, L"X", L"abc") == S_OK);

    CHECK(FormatSym::AcceptData(*object, true) == S_OK);
    CHECK(FormatSym::AcceptData(*object, false) == S_OK);
}

TEST_CASE("FormatSym accepts wide plain text unless onlyOwnFormat is true") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"abc", -1) == S_OK);

    CHECK(FormatSym::AcceptData(*object, false) == S_OK);
    CHECK(FormatSym::AcceptData(*object, true) == DV_E_CLIPFORMAT);
}

TEST_CASE("FormatSym imports narrow plain text but does not accept it in AcceptData") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "abc", -1) == S_OK);

    CHECK(FormatSym::AcceptData(*object, false) == DV_E_CLIPFORMAT);
    CHECK(Imported(*object).code == L"ABC");
}

// Calls AcceptData for an object whose n-th QueryGetData call returns the n-th element of
// `results`. Returns the result and the formats that were queried.
std::pair<HRESULT, std::vector<int>> queriedFormats(std::vector<HRESULT> results,
                                                    bool onlyOwnFormat = false) {
    std::vector<int> queried;
    ForeignDataObject object;
    object.onQueryGetData = [&](const FORMATETC& format) {
        CHECK(format.tymed == TYMED_HGLOBAL);
        queried.push_back(format.cfFormat);
        return results.at(queried.size() - 1);
    };
    const HRESULT hr = FormatSym::AcceptData(object, onlyOwnFormat);
    return {hr, queried};
}

TEST_CASE("FormatSym::AcceptData queries its own format first and stops if it is present") {
    CHECK(queriedFormats({S_OK}) == std::pair(S_OK, std::vector<int>{formatId()}));
}

TEST_CASE("FormatSym::AcceptData queries only its own format when onlyOwnFormat is true") {
    CHECK(queriedFormats({E_ACCESSDENIED}, true) ==
          std::pair(E_ACCESSDENIED, std::vector<int>{formatId()}));
}

TEST_CASE("FormatSym::AcceptData queries wide text twice before it fails") {
    CHECK(queriedFormats({DV_E_CLIPFORMAT, DV_E_TYMED, E_ACCESSDENIED}) ==
          std::pair(E_ACCESSDENIED, std::vector<int>{formatId(), CF_UNICODETEXT, CF_UNICODETEXT}));
}

TEST_CASE(
    "FormatSym::AcceptData accepts an object that reports wide text only at the second query") {
    CHECK(queriedFormats({DV_E_CLIPFORMAT, DV_E_CLIPFORMAT, S_OK}) ==
          std::pair(S_OK, std::vector<int>{formatId(), CF_UNICODETEXT, CF_UNICODETEXT}));
}

TEST_CASE("FormatSym::AcceptData queries wide text unless the result for the record is S_OK") {
    CHECK(queriedFormats({S_FALSE, S_FALSE}) ==
          std::pair(S_FALSE, std::vector<int>{formatId(), CF_UNICODETEXT}));
}

TEST_CASE("FormatSym imports a record up to its first control character") {
    const ExtKey unset(nullptr);

    const Imported imported = fromRecord("xabc.de\r\n");

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"X");
    CHECK(imported.code == L"ABC.DE");
}

TEST_CASE("FormatSym ends a string at any character below the space") {
    const ExtKey unset(nullptr);
    for (char control = 1; control < ' '; ++control) {
        CAPTURE(int{control});
        CHECK(fromRecord((std::string("Xab") + control + "cd").c_str()).code == L"AB");
    }
    CHECK(fromRecord("Xab cd\x7F").code == L"AB CD\x7F");
}

TEST_CASE("FormatSym imports only the type from a record of one character") {
    const Imported imported = fromRecord("X");

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"X");
    CHECK(imported.code == L"");
}

TEST_CASE("FormatSym imports an empty type and code from a record of control characters") {
    const Imported imported = fromRecord("\r\nXabc");

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"");
    CHECK(imported.code == L"");
}

TEST_CASE("FormatSym imports an empty code from plain text that begins with a control character") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"\tabc", -1) == S_OK);

    const Imported imported(*object);

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"(untouched)");
    CHECK(imported.code == L"");
}

TEST_CASE("FormatSym imports records in the system's code page") {
    const Imported imported = fromRecord("X\x80\xE9");

    CHECK(imported.code == L"\u20AC\u00C9");
}

TEST_CASE("FormatSym changes the type to uppercase unless DALVOEXTKEY is TRUE") {
    for (const wchar_t* const value : {static_cast<const wchar_t*>(nullptr), L"", L"FALSE", L"1",
                                       L"TRUE ", L" TRUE", L"TRU", L"123456789012345"}) {
        CAPTURE(std::wstring(value ? value : L"(unset)"));
        const ExtKey key(value);
        CHECK(typeFromRecord("xabc") == L"X");
    }
}

TEST_CASE("FormatSym keeps the case of the type if DALVOEXTKEY is TRUE in any letter case") {
    for (const wchar_t* const value : {L"TRUE", L"true", L"True", L"tRuE"}) {
        CAPTURE(std::wstring(value));
        const ExtKey key(value);
        const Imported imported = fromRecord("xabc.de\r\n");
        CHECK(imported.type == L"x");
        CHECK(imported.code == L"ABC.DE");
    }
}

TEST_CASE("FormatSym keeps the case of the type if DALVOEXTKEY has 16 characters or more") {
    const std::wstring longest(32000, L'x');
    for (const wchar_t* const value :
         {L"1234567890123456", L"12345678901234567", longest.c_str()}) {
        CAPTURE(std::wstring(value));
        const ExtKey key(value);
        CHECK(typeFromRecord("xabc") == L"x");
    }
}

TEST_CASE("FormatSym keeps the case of the type if the C runtime has set DALVOEXTKEY") {
    const ExtKey unset(nullptr);
    REQUIRE(_wputenv(L"DALVOEXTKEY=TRUE") == 0);

    CHECK(typeFromRecord("xabc") == L"x");

    REQUIRE(_wputenv(L"DALVOEXTKEY=") == 0);
}

TEST_CASE("FormatSym changes the type to uppercase regardless of the case of the code") {
    const ExtKey unset(nullptr);
    CHECK(typeFromRecord("x") == L"X");
    CHECK(typeFromRecord("xAbc") == L"X");
    CHECK(typeFromRecord("xn123") == L"X");
    CHECK(typeFromRecord("\xE9"
                         "abc") == L"\u00C9");
    CHECK(typeFromRecord("1abc") == L"1");
}

TEST_CASE("FormatSym changes codes to uppercase unless they contain an uppercase letter") {
    CHECK(codeFromText(L"abc.de") == L"ABC.DE");
    CHECK(codeFromText(L"Abc.De") == L"Abc.De");
    CHECK(codeFromText(L"abc.dE") == L"abc.dE");
    CHECK(codeFromText(L"caf\u00E9") == L"CAF\u00C9");
    CHECK(codeFromText(L"caf\u00C9") == L"caf\u00C9");
    CHECK(codeFromText(L"123.45=") == L"123.45=");
    CHECK(codeFromText(L"\u0434\u043E\u043C") == L"\u0414\u041E\u041C");
}

TEST_CASE("FormatSym keeps a code that consists of n and digits") {
    CHECK(codeFromText(L"n1") == L"n1");
    CHECK(codeFromText(L"n12345") == L"n12345");
    CHECK(codeFromText(L"n") == L"N");
    CHECK(codeFromText(L"n12a") == L"N12A");
    CHECK(codeFromText(L"n1 ") == L"N1 ");
    CHECK(codeFromText(L"na1") == L"NA1");
    CHECK(codeFromText(L"nn1") == L"NN1");
    CHECK(codeFromText(L"m123") == L"M123");
    CHECK(codeFromText(L"N123") == L"N123");
}

TEST_CASE("FormatSym keeps the code of a record if the code consists of n and digits") {
    const ExtKey unset(nullptr);

    const Imported imported = fromRecord("xn123");

    CHECK(imported.type == L"X");
    CHECK(imported.code == L"n123");
}

TEST_CASE("FormatSym does not treat the type as a part of the code") {
    const ExtKey unset(nullptr);
    CHECK(fromRecord("Xabc").code == L"ABC");
    CHECK(fromRecord("n123").code == L"123");
    CHECK(fromRecord("n123").type == L"N");
}

TEST_CASE("FormatSym imports wide plain text and does not change the type") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"Abc.De", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "narrow", -1) == S_OK);

    const Imported imported(*object);

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"(untouched)");
    CHECK(imported.code == L"Abc.De");
}

TEST_CASE("FormatSym imports narrow plain text if there is no wide text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "n12345", -1) == S_OK);

    const Imported imported(*object);

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"(untouched)");
    CHECK(imported.code == L"n12345");
}

TEST_CASE("FormatSym prefers a record to plain text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"WIDE", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, formatId(), "XCODE", -1) == S_OK);

    const Imported imported(*object);

    CHECK(imported.type == L"X");
    CHECK(imported.code == L"CODE");
}

TEST_CASE("FormatSym imports no plain text when onlyOwnFormat is true") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*object, "abc", -1) == S_OK);

    const Imported imported(*object, true);

    CHECK(imported.hr == E_FAIL);
    CHECK(imported.type == L"(untouched)");
    CHECK(imported.code == L"(untouched)");
}

TEST_CASE("FormatSym returns E_FAIL and keeps the outputs if there is nothing to import") {
    const Imported imported(*newDataObject());

    CHECK(imported.hr == E_FAIL);
    CHECK(imported.type == L"(untouched)");
    CHECK(imported.code == L"(untouched)");
}

TEST_CASE("FormatSym returns E_FAIL for an empty record even if there is plain text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, formatId(), "", -1) == S_OK);
    REQUIRE(CDataObject::SetCFTextData(*object, "abc", -1) == S_OK);

    const Imported imported(*object);

    CHECK(imported.hr == E_FAIL);
    CHECK(imported.code == L"(untouched)");
}

TEST_CASE("FormatSym returns E_FAIL for empty wide text even if there is narrow text") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "abc", -1) == S_OK);

    CHECK(Imported(*object).hr == E_FAIL);
}

TEST_CASE("FormatSym reads strings up to the first NUL") {
    const auto record = newDataObject(), wide = newDataObject();
    REQUIRE(setBlock(*record, formatId(), std::string_view("Xab\0cd", 6)) == S_OK);
    REQUIRE(setBlock(*wide, CF_UNICODETEXT, std::string_view("a\0b\0\0\0c\0", 8)) == S_OK);

    CHECK(Imported(*record).code == L"AB");
    CHECK(Imported(*wide).code == L"AB");
}

TEST_CASE("FormatSym imports an exported code") {
    const auto object = newDataObject();
    REQUIRE(FormatSym::ExportData(*object, false, L"X", L"ABC.DE") == S_OK);

    const Imported imported(*object);

    CHECK(imported.hr == S_OK);
    CHECK(imported.type == L"X");
    CHECK(imported.code == L"ABC.DE");
}

TEST_CASE("FormatSym changes both type and code or neither when memory runs out") {
    const auto object = newDataObject();
    const std::string code(100, 'a');
    REQUIRE(CDataObject::SetTextData(*object, formatId(), ("x" + code).c_str(), -1) == S_OK);
    std::wstring type, imported;
    const auto import = [&] {
        type = imported = L"(untouched)";
        try {
            FormatSym::ImportData(*object, true, type, imported);
        } catch (const std::bad_alloc&) {
        }
    };

    const long failures = sweepAllocationFailures(import, [&](long) {
        CHECK(type == L"(untouched)");
        CHECK(imported == L"(untouched)");
    });

    CHECK(failures > 1);
    CHECK(imported == std::wstring(100, L'A'));
}

}  // namespace
