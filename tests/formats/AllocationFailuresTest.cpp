// Calls the functions of the clipboard formats repeatedly, and makes a different allocation fail
// each time. A function whose allocation fails must report the failure as described in
// docs/failures.md, and must not leak memory or references. After each failure, the same call must
// succeed if no allocation fails. If a method of an instrument document or a workbook throws, the
// object must remain usable.
#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>
#include <msxml2.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "formats/FormatCCFPersistData.h"
#include "formats/FormatCSV.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatObjectContext.h"
#include "formats/FormatRTF.h"
#include "formats/FormatSym.h"
#include "formats/FormatSymFid.h"
#include "formats/FormatTOMInterface.h"
#include "formats/FormatXML.h"
#include "formats/FormatXML4Spdsheet.h"
#include "tests/support/Apartment.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ObservedDom.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/Workbooks.h"

namespace {

using namespace testsupport;
using namespace OrvexClipboard;
using Object = ATL::CComPtr<IDataObject>;

constexpr unsigned kStoring = kThrowsBadAlloc | kReturnsNoMemory;
constexpr unsigned kReadingStream = kThrowsComError | kReturnsNoMemory;
constexpr unsigned kReading = kThrowsBadAlloc | kReadingStream;

const std::wstring kLong(40, L'x');

// Creates FailingCall objects for functions that store data. Each call stores its data in a new
// data object.
class StoringCalls {
public:
    template <class Store>
    FailingCall create(const char* name, unsigned outcomes, Store store) {
        return {name, outcomes, [this, store] { return store(*m_object); },
                [this] { m_object = newDataObject(); }};
    }

private:
    Object m_object;
};

TEST_CASE(
    "The simple formats store and read all of their data or none of it when memory runs out") {
    const Apartment apartment;
    StoringCalls storingCalls;
    const Document document = parse(L"<a>a text that no short string holds</a>");
    const ATL::CComBSTR xml(L"<a>a text that no short string holds</a>");
    const Object csv = newDataObject();
    REQUIRE(setBlock(*csv, static_cast<CLIPFORMAT>(FormatCSV::GetClipboardID()), "a;b") == S_OK);
    const Object source = newDataObject();
    REQUIRE(FormatCCFPersistData::ExportData(*source, *document) == S_OK);
    REQUIRE(FormatObjectArchive::ExportData(*source, *document) == S_OK);
    REQUIRE(FormatObjectContext::ExportData(*source, *document) == S_OK);
    const auto reads = [&source](HRESULT (*import)(IDataObject&, IXMLDOMDocument2**)) {
        return [&source, import] {
            Document read;
            return import(*source, &read);
        };
    };
    everyAllocationFails({
        storingCalls.create(
            "FormatRTF::ExportData", kStoring,
            [](IDataObject& object) { return FormatRTF::ExportData(object, "{\\rtf1}", 7); }),
        {"FormatCSV::ImportData", kStoring,
         [&] {
             char* text = nullptr;
             const HRESULT hr = FormatCSV::ImportData(*csv, &text, nullptr);
             delete[] text;
             return hr;
         }},
        storingCalls.create("FormatCCFPersistData::ExportData", kStoring,
                            [&](IDataObject& object) {
                                return FormatCCFPersistData::ExportData(object, *document);
                            }),
        storingCalls.create("FormatCCFPersistData::ExportData of text", kStoring,
                            [&](IDataObject& object) {
                                return FormatCCFPersistData::ExportData(object, xml.m_str);
                            }),
        storingCalls.create("FormatObjectArchive::ExportData", kStoring,
                            [&](IDataObject& object) {
                                return FormatObjectArchive::ExportData(object, *document);
                            }),
        storingCalls.create("FormatObjectContext::ExportData", kStoring,
                            [&](IDataObject& object) {
                                return FormatObjectContext::ExportData(object, *document);
                            }),
        {"FormatCCFPersistData::ImportData", kReadingStream,
         reads(&FormatCCFPersistData::ImportData)},
        {"FormatCCFPersistData::ImportXML6Data", kReadingStream,
         reads(&FormatCCFPersistData::ImportXML6Data)},
        {"FormatCCFPersistData::ImportData of text", kReadingStream,
         [&] {
             ATL::CComBSTR text;
             return FormatCCFPersistData::ImportData(*source, &text.m_str);
         }},
        {"FormatObjectArchive::ImportData", kReadingStream,
         reads(&FormatObjectArchive::ImportData)},
        {"FormatObjectArchive::ImportXML6Data", kReadingStream,
         reads(&FormatObjectArchive::ImportXML6Data)},
        {"FormatObjectContext::ImportData", kReadingStream,
         reads(&FormatObjectContext::ImportData)},
        {"FormatObjectContext::ImportXML6Data", kReadingStream,
         reads(&FormatObjectContext::ImportXML6Data)},
    });
}

TEST_CASE("FormatTOMInterface releases an interface if it cannot store it") {
    const Apartment apartment;
    CountingUnknown unknown;
    {
        Object target;
        const Object source = newDataObject();
        REQUIRE(FormatTOMInterface::ExportData(*source, unknown) == S_OK);
        const LONG before = unknown.references();
        everyAllocationFails({{"FormatTOMInterface::ExportData", kStoring,
                               [&] { return FormatTOMInterface::ExportData(*target, unknown); },
                               [&] { target = newDataObject(); },
                               [&](unsigned) { CHECK(unknown.references() == before); }},
                              {"FormatTOMInterface::ImportData", 0, [&] {
                                   ATL::CComPtr<IUnknown> read;
                                   return FormatTOMInterface::ImportData(*source, &read);
                               }}});
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("FormatSym changes neither type nor code when memory runs out") {
    StoringCalls storingCalls;
    const Object source = newDataObject();
    REQUIRE(FormatSym::ExportData(*source, false, L"i", kLong) == S_OK);
    std::wstring type, code;
    const auto clear = [&] { type = code = L"?"; };
    const auto areUntouched = [&](unsigned) { CHECK((type == L"?" && code == L"?")); };
    everyAllocationFails({
        storingCalls.create(
            "FormatSym::ExportData", kStoring,
            [](IDataObject& object) { return FormatSym::ExportData(object, false, L"i", kLong); }),
        {"FormatSym::ImportData", kThrowsBadAlloc | kReturnsFailure,
         [&] { return FormatSym::ImportData(*source, true, type, code); }, clear, areUntouched},
        // If memory runs out while the record is read, ImportData reads the plain text instead.
        {"FormatSym::ImportData of a record or text", kThrowsBadAlloc | kSucceeds,
         [&] { return FormatSym::ImportData(*source, false, type, code); }, clear,
         [&](unsigned outcome) {
             CHECK(type == L"?");
             if (outcome == kThrowsBadAlloc) CHECK(code == L"?");
         }},
    });
}

// Calls methods of a document after another call to the document has failed. The calls may fail,
// but they must not throw.
void useAfterFailure(FormatXML& document) {
    std::wstring text;
    document.putPortfolio(L"P", L"T");
    document.putInstrument(L"I", L"K", L"F");
    document.putField(L"n", L"1", L"v");
    document.getPortfolio();
    document.getInstrument();
    document.getField();
    document.getFreeText(text);
    document.exportToString(text);
}

// Returns a FailingCall that passes a new document to `prepare` and then to `call`.
template <class Prepare, class Call>
FailingCall onDocument(const char* name, unsigned outcomes, Prepare prepare, Call call) {
    const auto document = std::make_shared<std::unique_ptr<FormatXML>>();
    return {name, outcomes, [=] { return call(**document); },
            [=] {
                *document = std::make_unique<FormatXML>();
                prepare(**document);
            },
            [=](unsigned) {
                useAfterFailure(**document);
                document->reset();
            }};
}

const std::wstring kInstruments =
    L"<TarloData><Portfolios><Portfolio><PortfolioId>" + kLong + L"</PortfolioId><Type>" + kLong +
    L"</Type></Portfolio></Portfolios><Instruments><Instrument><ItemCode>" + kLong +
    L"</ItemCode><KeyLetter>" + kLong + L"</KeyLetter><Fields><Field><FID>" + kLong +
    L"</FID><Name>" + kLong + L"</Name></Field></Fields><FreeTexts><FreeText>" + kLong +
    L"</FreeText></FreeTexts></Instrument></Instruments></TarloData>";

TEST_CASE("An instrument document that runs out of memory reports it and can still be used") {
    const Apartment apartment;
    const auto doNothing = [](FormatXML&) {};
    const auto beginDocument = [](FormatXML& document) {
        document.putInstrument(L"I", L"K", L"F");
    };
    everyAllocationFails({
        {"FormatXML", kThrowsBadAlloc,
         [] {
             FormatXML document;
             return S_OK;
         }},
        onDocument(
            "putPortfolio, the first call", kThrowsComError | kReturnsFailure, doNothing,
            [](FormatXML& document) { return failureUnless(document.putPortfolio(kLong, kLong)); }),
        onDocument(
            "putPortfolio", kThrowsComError, beginDocument,
            [](FormatXML& document) { return failureUnless(document.putPortfolio(kLong, kLong)); }),
        onDocument("putInstrument", kThrowsComError, beginDocument,
                   [](FormatXML& document) {
                       return failureUnless(document.putInstrument(kLong, kLong, kLong));
                   }),
        onDocument("putChainInstrument", kThrowsComError, beginDocument,
                   [](FormatXML& document) {
                       return failureUnless(
                           document.putChainInstrument(kLong, kLong, kLong, kLong));
                   }),
        onDocument("putInstrumentParent", kThrowsComError, beginDocument,
                   [](FormatXML& document) {
                       return failureUnless(
                           document.putInstrumentParent(kLong, kLong, kLong, kLong));
                   }),
        onDocument("putField", kThrowsComError, beginDocument,
                   [](FormatXML& document) {
                       return failureUnless(document.putField(kLong, kLong, kLong));
                   }),
        onDocument("putNewsStory", kThrowsComError, beginDocument,
                   [](FormatXML& document) {
                       return failureUnless(document.putNewsStory(kLong, kLong, kLong, kLong));
                   }),
        onDocument("exportToXML", kReturnsFailure, beginDocument,
                   [](FormatXML& document) {
                       Document copy;
                       return failureUnless(document.exportToXML(&copy));
                   }),
        onDocument("exportToString", kThrowsBadAlloc, beginDocument,
                   [](FormatXML& document) {
                       std::wstring xml;
                       return failureUnless(document.exportToString(xml));
                   }),
    });

    const Document given = parse(kInstruments);
    REQUIRE(given);
    const auto read = [](FormatXML& document) { document.importFromString(kInstruments); };
    const auto atRows = [](FormatXML& document) {
        document.importFromString(kInstruments);
        document.getPortfolio();
        document.getInstrument();
        document.getField();
    };
    const auto gets = [](bool (FormatXML::*get)(std::wstring&)) {
        return [get](FormatXML& document) {
            std::wstring text;
            return failureUnless((document.*get)(text) && text == kLong);
        };
    };
    everyAllocationFails({
        onDocument("importFromString", kThrowsComError | kReturnsFailure, doNothing,
                   [](FormatXML& document) {
                       return failureUnless(document.importFromString(kInstruments));
                   }),
        onDocument(
            "importFromXML", kThrowsComError | kReturnsFailure, doNothing,
            [&](FormatXML& document) { return failureUnless(document.importFromXML(*given)); }),
        onDocument("getPortfolio", optionalOutcome(kThrowsComError), read,
                   [](FormatXML& document) { return failureUnless(document.getPortfolio()); }),
        onDocument("getInstrument", optionalOutcome(kThrowsComError), read,
                   [](FormatXML& document) { return failureUnless(document.getInstrument()); }),
        onDocument(
            "getField", optionalOutcome(kThrowsComError),
            [](FormatXML& document) {
                document.importFromString(kInstruments);
                document.getInstrument();
            },
            [](FormatXML& document) { return failureUnless(document.getField()); }),
        onDocument("getFreeText", kThrowsBadAlloc | kThrowsComError, atRows,
                   [](FormatXML& document) {
                       std::wstring text;
                       return failureUnless(document.getFreeText(text) && text == kLong);
                   }),
        onDocument("getPortfolio_PortfolioId", kThrowsBadAlloc | optionalOutcome(kThrowsComError),
                   atRows, gets(&FormatXML::getPortfolio_PortfolioId)),
        onDocument("getPortfolio_Type", kThrowsBadAlloc | optionalOutcome(kThrowsComError), atRows,
                   gets(&FormatXML::getPortfolio_Type)),
        onDocument("getInstrument_ItemCode", kThrowsBadAlloc | optionalOutcome(kThrowsComError),
                   atRows, gets(&FormatXML::getInstrument_ItemCode)),
        onDocument("getInstrument_Keyletter", kThrowsBadAlloc | optionalOutcome(kThrowsComError),
                   atRows, gets(&FormatXML::getInstrument_Keyletter)),
        onDocument("getField_Name", kThrowsBadAlloc | optionalOutcome(kThrowsComError), atRows,
                   gets(&FormatXML::getField_Name)),
        onDocument("getField_FID", kThrowsBadAlloc | optionalOutcome(kThrowsComError), atRows,
                   gets(&FormatXML::getField_FID)),
    });
}

TEST_CASE(
    "Instrument documents are stored and read completely or not at all when memory runs out") {
    const Apartment apartment;
    StoringCalls storingCalls;
    FormatXML written;
    REQUIRE(written.importFromString(kInstruments));
    const Document document = parse(kInstruments);
    std::wstring xml = kInstruments;
    const Object source = newDataObject();
    REQUIRE(FormatXML::ExportData(*source, written) == S_OK);
    REQUIRE(FormatSymFid::ExportData(*source, written) == S_OK);
    std::unique_ptr<FormatXML> read;
    const auto renew = [&] { read = std::make_unique<FormatXML>(); };
    const auto checkUsable = [&](unsigned) {
        useAfterFailure(*read);
        read.reset();
    };
    everyAllocationFails({
        storingCalls.create(
            "FormatXML::ExportData", kStoring | kReturnsFailure,
            [&](IDataObject& object) { return FormatXML::ExportData(object, written); }),
        storingCalls.create(
            "FormatXML::ExportData of a document", kStoring,
            [&](IDataObject& object) { return FormatXML::ExportData(object, *document); }),
        storingCalls.create(
            "FormatXML::ExportData of text", kStoring,
            [&](IDataObject& object) { return FormatXML::ExportData(object, xml.data()); }),
        storingCalls.create(
            "FormatSymFid::ExportData", kStoring | kReturnsFailure,
            [&](IDataObject& object) { return FormatSymFid::ExportData(object, written); }),
        {"FormatXML::ImportData", kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
         [&] { return FormatXML::ImportData(*source, *read); }, renew, checkUsable},
        {"FormatXML::ImportData of a document", kReading,
         [&] {
             Document given;
             return FormatXML::ImportData(*source, &given);
         }},
        {"FormatSymFid::ImportData", kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
         [&] { return FormatSymFid::ImportData(*source, *read); }, renew, checkUsable},
    });
}

// Calls methods of a workbook after another call to the workbook has failed. The calls may fail,
// but they must not throw.
void useAfterFailure(FormatXML4Spdsheet& sheet) {
    std::wstring text;
    sheet.setTableSize(2, 2);
    sheet.addRow();
    sheet.addCell(L"=A", L"a");
    sheet.firstRow();
    sheet.nextRow();
    sheet.parseFormulas();
    sheet.exportToString(text);
}

template <class Prepare, class Call>
FailingCall onSheet(const char* name, unsigned outcomes, Prepare prepare, Call call) {
    const auto sheet = std::make_shared<std::unique_ptr<FormatXML4Spdsheet>>();
    return {name, outcomes, [=] { return call(**sheet); },
            [=] {
                *sheet = std::make_unique<FormatXML4Spdsheet>();
                prepare(**sheet);
            },
            [=](unsigned) {
                useAfterFailure(**sheet);
                sheet->reset();
            }};
}

const std::wstring kBook =
    book(row(cell(kLong) + cell(kLong) +
             formulaCell(L"=QkGet(\"" + kLong + L"\",RC[-2],\"" + kLong + L"\")")));

TEST_CASE("A workbook that runs out of memory reports it and can still be used") {
    const Apartment apartment;
    const auto doNothing = [](FormatXML4Spdsheet&) {};
    const auto beginTable = [](FormatXML4Spdsheet& sheet) {
        sheet.setTableSize(2, 2);
        sheet.addRow();
    };
    const auto asSpreadsheets = [](FormatXML4Spdsheet& sheet) {
        sheet.setReading(FormatXML4Spdsheet::Reading::asSpreadsheets);
    };
    const auto read = [](FormatXML4Spdsheet& sheet) { sheet.importFromString(kBook); };
    const auto readAsSpreadsheets = [&](FormatXML4Spdsheet& sheet) {
        asSpreadsheets(sheet);
        read(sheet);
    };
    const auto importAndParseCells = [&](FormatXML4Spdsheet& sheet) {
        read(sheet);
        sheet.parseCells(0);
    };
    const Document given = parse(kBook);
    REQUIRE(given);
    everyAllocationFails({
        {"FormatXML4Spdsheet", kThrowsBadAlloc,
         [] {
             FormatXML4Spdsheet sheet;
             return S_OK;
         }},
        onSheet("setTableSize, the first call", kThrowsComError | kReturnsFailure, doNothing,
                [](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.setTableSize(2, 2)); }),
        onSheet("addRow, the first call", kThrowsComError | kReturnsFailure, doNothing,
                [](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.addRow()); }),
        onSheet("addCell", kThrowsComError, beginTable,
                [](FormatXML4Spdsheet& sheet) {
                    return failureUnless(sheet.addCell(L"=" + kLong, kLong));
                }),
        onSheet("exportToXML", kReturnsFailure, beginTable,
                [](FormatXML4Spdsheet& sheet) {
                    Document copy;
                    return failureUnless(sheet.exportToXML(&copy));
                }),
        onSheet("exportToString", kThrowsBadAlloc, beginTable,
                [](FormatXML4Spdsheet& sheet) {
                    std::wstring xml;
                    return failureUnless(sheet.exportToString(xml));
                }),
        onSheet(
            "importFromString", kThrowsComError | kReturnsFailure, doNothing,
            [](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.importFromString(kBook)); }),
        onSheet(
            "importFromString as spreadsheets", kThrowsComError | kReturnsFailure, asSpreadsheets,
            [](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.importFromString(kBook)); }),
        onSheet("importFromXML as spreadsheets",
                kThrowsBadAlloc | kReturnsFailure | optionalOutcome(kThrowsComError),
                asSpreadsheets,
                [given](FormatXML4Spdsheet& sheet) {
                    return failureUnless(sheet.importFromXML(*given));
                }),
        onSheet(
            "importFromXML", kReturnsFailure | optionalOutcome(kThrowsComError), doNothing,
            [&](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.importFromXML(*given)); }),
        onSheet("parseCells of values", kThrowsBadAlloc, read,
                [](FormatXML4Spdsheet& sheet) { return failureUnless(sheet.parseCells(0)); }),
        onSheet("parseCells of formulas", kThrowsBadAlloc, importAndParseCells,
                [](FormatXML4Spdsheet& sheet) {
                    return failureUnless(sheet.parseCells(1) &&
                                         sheet.listOfFormulaArraysSize() == 1);
                }),
        onSheet("parseFormulas", kThrowsBadAlloc, read,
                [](FormatXML4Spdsheet& sheet) {
                    return failureUnless(sheet.parseFormulas() &&
                                         sheet.listOfFormulaArraysSize() == 1);
                }),
        onSheet("parseFormulas as spreadsheets", kThrowsBadAlloc, readAsSpreadsheets,
                [](FormatXML4Spdsheet& sheet) {
                    return failureUnless(sheet.parseFormulas() &&
                                         sheet.listOfFormulaArraysSize() == 1);
                }),
        onSheet("parseValue", kThrowsBadAlloc, read,
                [](FormatXML4Spdsheet& sheet) {
                    std::wstring value;
                    unsigned __int64 pos = 0;
                    return failureUnless(sheet.parseValue(kLong + L"\"", value, pos));
                }),
        onSheet("parseFeed", kThrowsBadAlloc, read,
                [](FormatXML4Spdsheet& sheet) {
                    FormatXML4Spdsheet::Record record;
                    FormatXML4Spdsheet::Reference reference;
                    unsigned __int64 pos = 0;
                    return failureUnless(
                        sheet.parseFeed(L"\"" + kLong + L"\",", record, reference, pos));
                }),
        onSheet("listOfFormulaArraysPush", kThrowsBadAlloc, read,
                [](FormatXML4Spdsheet& sheet) {
                    FormatXML4Spdsheet::ArrayOfFormulas array;
                    array.records[{0, 0}].sym = kLong;
                    sheet.listOfFormulaArraysPush(array);
                    return failureUnless(sheet.listOfFormulaArraysSize() == 1);
                }),
    });
}

TEST_CASE("Workbooks are stored and read completely or not at all when memory runs out") {
    const Apartment apartment;
    StoringCalls storingCalls;
    FormatXML4Spdsheet written;
    REQUIRE(written.importFromString(kBook));
    const Object source = newDataObject();
    REQUIRE(FormatXML4Spdsheet::ExportData(*source, written) == S_OK);
    std::unique_ptr<FormatXML4Spdsheet> read;
    everyAllocationFails({
        storingCalls.create(
            "FormatXML4Spdsheet::ExportData", kStoring | kReturnsFailure,
            [&](IDataObject& object) { return FormatXML4Spdsheet::ExportData(object, written); }),
        {"FormatXML4Spdsheet::ImportData", kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
         [&] { return FormatXML4Spdsheet::ImportData(*source, *read); },
         [&] { read = std::make_unique<FormatXML4Spdsheet>(); }, [&](unsigned) { read.reset(); }},
        {"FormatXML4Spdsheet::ImportData as spreadsheets",
         kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
         [&] { return FormatXML4Spdsheet::ImportData(*source, *read); },
         [&] {
             read = std::make_unique<FormatXML4Spdsheet>();
             read->setReading(FormatXML4Spdsheet::Reading::asSpreadsheets);
         },
         [&](unsigned) { read.reset(); }},
    });
}

// Runs `work` once for each call that `work` makes to an MSXML document. In the n-th run, the n-th
// call returns E_OUTOFMEMORY.
void everyDocumentCallFails(const std::function<bool()>& work) {
    ObservedDom dom;
    REQUIRE(work());
    const std::vector<std::wstring> calls = dom.calls;
    REQUIRE(calls.size() > 5);
    for (std::size_t n = 0; n < calls.size(); ++n) {
        CAPTURE(calls[n]);
        dom.onCall = [left = n](const std::wstring&) mutable {
            return left-- == 0 ? E_OUTOFMEMORY : S_OK;
        };
        try {
            work();
        } catch (const _com_error& error) {
            CHECK(error.Error() == E_OUTOFMEMORY);
        }
        CHECK(dom.objects == 0);
        dom.onCall = nullptr;
        CHECK(work());
    }
}

TEST_CASE("MSXML objects are released if any MSXML call returns E_OUTOFMEMORY") {
    const Apartment apartment;
    everyDocumentCallFails([] {
        FormatXML document;
        std::wstring text;
        return document.putPortfolio(kLong, kLong) &&
               document.putChainInstrument(kLong, kLong, kLong, kLong) &&
               document.putInstrumentParent(kLong, kLong, kLong, kLong) &&
               document.putField(kLong, kLong, kLong) &&
               document.putNewsStory(kLong, kLong, kLong, kLong) && document.exportToString(text);
    });
    everyDocumentCallFails([] {
        FormatXML document;
        std::wstring text;
        return document.importFromString(kInstruments) && document.getPortfolio() &&
               document.getPortfolio_PortfolioId(text) && document.getInstrument() &&
               document.getInstrument_ItemCode(text) && document.getField() &&
               document.getField_FID(text) && document.getFreeText(text);
    });
    everyDocumentCallFails([] {
        const Object object = newDataObject();
        FormatXML written, read;
        return written.putPortfolio(kLong, kLong) &&
               FormatXML::ExportData(*object, written) == S_OK &&
               FormatXML::ImportData(*object, read) == S_OK && read.getPortfolio();
    });
    everyDocumentCallFails([] {
        const Object object = newDataObject();
        FormatXML4Spdsheet written, read;
        std::vector<FormatXML4Spdsheet::Cell> cells;
        return written.addRow() && written.addCell(L"=SUM(RC)", kLong) &&
               FormatXML4Spdsheet::ExportData(*object, written) == S_OK &&
               read.setReading(FormatXML4Spdsheet::Reading::asSpreadsheets) &&
               FormatXML4Spdsheet::ImportData(*object, read) == S_OK && read.readCells(cells) &&
               read.parseFormulas();
    });
    everyDocumentCallFails([] {
        FormatXML4Spdsheet sheet;
        std::wstring text;
        return sheet.setTableSize(2, 2) && sheet.addRow() && sheet.addCell(L"=A", kLong) &&
               sheet.exportToString(text);
    });
    everyDocumentCallFails([] {
        FormatXML4Spdsheet sheet;
        return sheet.importFromString(kBook) && sheet.parseFormulas() &&
               sheet.listOfFormulaArraysSize() == 1;
    });
}

}  // namespace
