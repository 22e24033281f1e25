// Tests the names and identifiers of the clipboard formats.
#include <doctest/doctest.h>

#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "formats/FormatCCFPersistData.h"
#include "formats/FormatCSV.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatObjectContext.h"
#include "formats/FormatRTF.h"
#include "formats/FormatSym.h"
#include "formats/FormatTOMInterface.h"
#include "tests/support/LeakListener.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace OrvexClipboard;

struct Format {
    std::wstring name;
    const wchar_t* (*getName)();
    unsigned (*getNumber)();
};

const Format kFormats[] = {
    {L"TARLO_CCF_PERSISTDATA", &FormatCCFPersistData::GetClipboardName,
     &FormatCCFPersistData::GetClipboardID},
    {L"cvs", &FormatCSV::GetClipboardName, &FormatCSV::GetClipboardID},
    {L"TARLO_OBJECT_MODEL_INTERFACE", &FormatTOMInterface::GetClipboardName,
     &FormatTOMInterface::GetClipboardID},
    {L"TARLO_OBJECT_ARCHIVE", &FormatObjectArchive::GetClipboardName,
     &FormatObjectArchive::GetClipboardID},
    {L"TARLO_OBJECT_CONTEXT", &FormatObjectContext::GetClipboardName,
     &FormatObjectContext::GetClipboardID},
    {L"DALVO_RECORD_FORMAT", &FormatSym::GetClipboardName, &FormatSym::GetClipboardID},
    {L"rich text format", &FormatRTF::GetClipboardName, &FormatRTF::GetClipboardID},
};

TEST_CASE("Every format has its registered name") {
    for (const Format& format : kFormats) CHECK(std::wstring(format.getName()) == format.name);
}

TEST_CASE("Every format has the identifier that the system returns for its name") {
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        CHECK(format.getNumber() == RegisterClipboardFormatW(format.name.c_str()));
    }
}

TEST_CASE("All formats have different identifiers") {
    std::set<unsigned> numbers;
    for (const Format& format : kFormats) numbers.insert(format.getNumber());

    CHECK(numbers.size() == std::size(kFormats));
}

TEST_CASE("A registered format is not registered again") {
    static int calls;
    for (const Format& format : kFormats) format.getNumber();
    calls = 0;
    const testsupport::ReplacedImport<UINT WINAPI(LPCWSTR)> replaced("RegisterClipboardFormatW",
                                                                     [](LPCWSTR) -> UINT {
                                                                         ++calls;
                                                                         return 0;
                                                                     });

    for (const Format& format : kFormats) CHECK(format.getNumber() != 0);

    CHECK(calls == 0);
}

TEST_CASE("Threads that register a format at the same time get the same identifier") {
    for (const Format& format : kFormats) {
        std::vector<unsigned> numbers(8);
        testsupport::ignoreHandles();
        std::vector<std::thread> threads;
        for (unsigned& number : numbers)
            threads.emplace_back([&number, &format] { number = format.getNumber(); });
        for (std::thread& thread : threads) thread.join();

        CHECK(numbers == std::vector<unsigned>(8, format.getNumber()));
    }
}

// Objects of the format classes contain no data, and clients can copy them.
static_assert(std::is_copy_assignable_v<FormatCSV> && std::is_copy_assignable_v<FormatSym>);
static_assert(std::is_empty_v<FormatCCFPersistData> && std::is_empty_v<FormatTOMInterface>);

}  // namespace
