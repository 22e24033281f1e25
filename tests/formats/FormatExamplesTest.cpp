// Compares the examples in docs/clipboard-formats.md with the library's output.
#include <doctest/doctest.h>
#include <windows.h>

#include <ole2.h>
#include <shlobj.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <I18nResource.h>

#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"

using namespace OrvexClipboard;
using testsupport::blockOf;

namespace {

/// Returns the text of docs/clipboard-formats.md, with LF line endings.
const std::string& page() {
    static const std::string text = [] {
        // The path is wide, because the path of the source folder may contain characters outside
        // the ANSI code page.
        std::ifstream file(std::filesystem::path(L"" CLIPBOARD_FORMATS_PAGE), std::ios::binary);
        INFO("docs/clipboard-formats.md cannot be opened");
        REQUIRE(file.is_open());
        std::string read{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::erase(read, '\r');
        return read;
    }();
    return text;
}

/// Returns a hexadecimal dump with 16 bytes in each line. Each line ends with the characters of
/// these bytes. A period represents a byte that is not printable ASCII.
std::string dump(std::string_view bytes) {
    constexpr std::size_t kPerLine = 16;
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(kPerLine, bytes.size()))) {
        const std::string_view line = bytes.substr(0, kPerLine);
        std::string codes, characters;
        for (const char c : line) {
            const auto byte = static_cast<unsigned char>(c);
            codes += {kDigits[byte >> 4], kDigits[byte & 15], ' '};
            characters += byte >= ' ' && byte <= '~' ? c : '.';
        }
        codes.resize(kPerLine * 3, ' ');
        text += codes + " " + characters + "\n";
    }
    return text;
}

/// Checks that the page contains the line `title`, immediately followed by `lines`.
void checkShown(const std::string& title, const std::string& lines) {
    INFO("expected on the page:\n", title, "\n", lines);
    CHECK(page().find("\n" + title + "\n" + lines) != std::string::npos);
}

/// Returns the lines that follow `title` in the same code block of the page.
std::string shownBelow(const std::string& title) {
    const std::size_t at = page().find("\n" + title + "\n");
    REQUIRE(at != std::string::npos);
    const std::size_t begin = at + title.size() + 2;
    return page().substr(begin, page().find("```", begin) - begin);
}

/// Removes the white space between elements, because it differs between parsers.
std::string compact(std::string_view xml) {
    std::string text;
    for (std::size_t i = 0; i < xml.size() && xml[i] != '\0'; ++i) {
        if (std::strchr("\t\r\n ", xml[i])) {
            const std::size_t next = xml.find_first_not_of("\t\r\n ", i);
            const bool isBetween = (text.empty() || text.back() == '>') &&
                                   (next == xml.npos || xml[next] == '<' || xml[next] == '\0');
            if (isBetween) {
                if (next == xml.npos) break;
                i = next - 1;
                continue;
            }
        }
        text += xml[i];
    }
    return text;
}

struct Examples {
    testsupport::Apartment apartment;
    ATL::CComPtr<IDataObject> data = testsupport::newDataObject();

    std::string block(unsigned int format) {
        return blockOf(*data, static_cast<CLIPFORMAT>(format));
    }
};

template <class Value>
void append(std::string& bytes, const Value& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

const bool otherCodePage = ::GetACP() != 1252;  // the page shows bytes in code page 1252

}  // namespace

TEST_CASE_FIXTURE(Examples, "The documentation shows the blocks for narrow and wide text") {
    REQUIRE(CDataObject::SetTextData(*data, CF_TEXT, "abc", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*data, CF_UNICODETEXT, L"abc", -1) == S_OK);
    checkShown("SetTextData(object, CF_TEXT, \"abc\", -1)", dump(block(CF_TEXT)));
    checkShown("SetTextData(object, CF_UNICODETEXT, L\"abc\", -1)", dump(block(CF_UNICODETEXT)));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows the results of reading the text blocks") {
    REQUIRE(CDataObject::SetTextData(*data, CF_TEXT, "abc", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*data, CF_UNICODETEXT, L"abc", -1) == S_OK);
    char* narrow = nullptr;
    wchar_t* wide = nullptr;
    unsigned __int64 narrowLength = 0, wideLength = 0;
    REQUIRE(CDataObject::QueryTextData(*data, CF_TEXT, &narrow, &narrowLength) == S_OK);
    REQUIRE(CDataObject::QueryTextData(*data, CF_UNICODETEXT, &wide, &wideLength) == S_OK);
    checkShown("QueryTextData(object, CF_TEXT, &text, &length)",
               "\"" + std::string(narrow) + "\", length " + std::to_string(narrowLength) + "\n");
    checkShown("QueryTextData(object, CF_UNICODETEXT, &text, &length)",
               "L\"" + std::string(wide, wide + std::wcslen(wide)) + "\", length " +
                   std::to_string(wideLength) + "\n");
    delete[] narrow;
    delete[] wide;
}

TEST_CASE_FIXTURE(Examples,
                  "The documentation shows text in both widths" * doctest::skip(otherCodePage)) {
    REQUIRE(CDataObject::SetCFUnicodeTextData(*data, L"5 \u20ac", -1) == S_OK);
    const std::string title = "SetCFUnicodeTextData(object, L\"5 \\u20ac\", -1)\n";
    checkShown(title + "CF_UNICODETEXT", dump(block(CF_UNICODETEXT)));
    checkShown("CF_TEXT", dump(block(CF_TEXT)));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows an instrument code") {
    REQUIRE(FormatSym::ExportData(*data, false, L"B", L"ORLO28.B") == S_OK);
    checkShown("FormatSym::ExportData(object, false, L\"B\", L\"ORLO28.B\")\nDALVO_RECORD_FORMAT",
               dump(block(FormatSym::GetClipboardID())));
    checkShown("CF_TEXT, the code alone", dump(block(CF_TEXT)));
    CHECK(block(CF_UNICODETEXT).size() == 9 * 8);
}

TEST_CASE_FIXTURE(Examples, "The documentation shows rich text and comma-separated values") {
    constexpr char kRtf[] = "{\\rtf1\\ansi Up 5 \\'80}";
    REQUIRE(FormatRTF::ExportData(*data, kRtf, std::strlen(kRtf)) == S_OK);
    checkShown("rich text format", dump(block(FormatRTF::GetClipboardID())));
    constexpr char kValues[] = "Name,Last\r\n\"Alvek, AG\",84.12\r\n";
    REQUIRE(CDataObject::SetTextData(*data, FormatCSV::GetClipboardID(), kValues, -1) == S_OK);
    checkShown("cvs", dump(block(FormatCSV::GetClipboardID())));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows the stored text of an instrument document") {
    std::wstring xml = L"<TarloData Version=\"1.0\"><Instruments>\u00e9</Instruments></TarloData>";
    REQUIRE(FormatXML::ExportData(*data, xml.data()) == S_OK);
    checkShown("DALVO_XML_FORMAT", dump(block(FormatXML::GetClipboardID())));
}

TEST_CASE_FIXTURE(Examples,
                  "The documentation shows the elements of a written instrument document") {
    FormatXML document;
    REQUIRE(document.putPortfolio(L"depot", L"Portfolio"));
    REQUIRE(document.putInstrument(L"ALVEK.F", L"S", L"EUROFEED"));
    REQUIRE(document.putInstrumentParent(L"Group", L"Shares", L"0", L"1"));
    REQUIRE(document.putField(L"Last", L"6", L"84.12"));
    REQUIRE(document.putChainInstrument(L"BORNH.F", L"0#INDEX", L"S", L"EUROFEED"));
    REQUIRE(document.putNewsStory(L"n1", L"2026-11-21", L"14:30", L"R&D <grows>"));
    REQUIRE(FormatXML::ExportData(*data, document) == S_OK);
    REQUIRE(FormatSymFid::ExportData(*data, document) == S_OK);
    const std::string stored = block(FormatXML::GetClipboardID());
    CHECK(compact(shownBelow("DALVO_XML_FORMAT, DALVO_SYMFID_FORMAT")) == compact(stored));
    CHECK(stored.find('\0') == stored.size() - 1);
    CHECK(block(FormatSymFid::GetClipboardID()) == stored);
}

TEST_CASE_FIXTURE(Examples, "The documentation shows a workbook") {
    FormatXML4Spdsheet workbook;
    REQUIRE(workbook.setTableSize(3, 2));
    REQUIRE(workbook.addRow());
    REQUIRE(workbook.addCell(L"", L"ItemCode"));
    REQUIRE(workbook.addCell(L"", L"Last"));
    REQUIRE(workbook.addRow());
    REQUIRE(workbook.addRow());
    REQUIRE(workbook.addCell(L"", L"ALVEK.F"));
    REQUIRE(workbook.addCell(L"=QkGet(\"EUROFEED\",RC[-1],\"Last\")", L"84.12"));
    REQUIRE(FormatXML4Spdsheet::ExportData(*data, workbook) == S_OK);
    const std::string stored = block(FormatXML4Spdsheet::GetClipboardID());
    std::string shown = compact(shownBelow("XML Spreadsheet"));
    // The page splits one element into two lines. Join these lines.
    for (std::size_t at = 0; (at = shown.find("\n    ", at)) != shown.npos;) {
        const std::size_t end = shown.find_first_not_of(' ', at + 1);
        shown.replace(at, end - at, " ");
    }
    std::string expected = compact(stored);
    // The quotation marks in the XML declaration depend on the parser.
    if (const std::size_t at = expected.find("<?xml version=\"1.0\"?>"); at == 0)
        expected.replace(0, 21, "<?xml version='1.0'?>");
    CHECK(shown == expected);
}

TEST_CASE_FIXTURE(
    Examples,
    "The documentation shows the size of a cookie's block, and its medium has pUnkForRelease") {
    ATL::CComPtr<IDataObject> carried = testsupport::newDataObject();
    REQUIRE(FormatTOMInterface::ExportData(*data, *carried) == S_OK);
    FORMATETC format = CDataObject::formatHGlobal(FormatTOMInterface::GetClipboardID());
    testsupport::ReceivedMedium medium;
    REQUIRE(data->GetData(&format, &medium) == S_OK);
    CHECK(medium.pUnkForRelease != nullptr);
    checkShown("TARLO_OBJECT_MODEL_INTERFACE",
               std::to_string(::GlobalSize(medium.hGlobal)) +
                   " bytes: the cookie, a 32-bit number, lowest byte first\n");
}

TEST_CASE_FIXTURE(Examples, "The documentation shows a device-independent bitmap") {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = 2;
    header.biHeight = 1;
    header.biPlanes = 1;
    header.biBitCount = 24;
    std::string bytes;
    append(bytes, header);
    // a red pixel, a blue pixel, and padding to the next DWORD
    bytes += std::string("\x00\x00\xff\xff\x00\x00\x00\x00", 8);
    REQUIRE(CDataObject::SetHDIBData(*data, CF_DIB, testsupport::newBlock(bytes), TRUE) == S_OK);
    checkShown("CF_DIB", dump(block(CF_DIB)));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows a list of files") {
    DROPFILES header{};
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    std::string bytes;
    append(bytes, header);
    constexpr wchar_t kNames[] = L"C:\\a.csv\0";
    bytes.append(reinterpret_cast<const char*>(kNames), sizeof kNames);
    REQUIRE(CDataObject::SetHGLOBALData(*data, CF_HDROP, testsupport::newBlock(bytes), TRUE) ==
            S_OK);
    checkShown("CF_HDROP", dump(block(CF_HDROP)));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows the bytes of a document's stream") {
    const auto document = testsupport::parse(L"<news date='today'>\u00e9</news>");
    REQUIRE(FormatCCFPersistData::ExportData(*data, *document) == S_OK);
    FORMATETC format = CDataObject::formatIStream(FormatCCFPersistData::GetClipboardID());
    testsupport::ReceivedMedium medium;
    REQUIRE(data->GetData(&format, &medium) == S_OK);
    char bytes[100]{};
    ULONG read = 0;
    medium.pstm->Seek({}, STREAM_SEEK_SET, nullptr);
    REQUIRE(SUCCEEDED(medium.pstm->Read(bytes, sizeof bytes, &read)));
    std::string text(bytes, read);
    // MSXML may end the last line with CR LF. The page shows the LF of Wine.
    if (text.ends_with("\r\n")) text.erase(text.size() - 2, 1);
    checkShown("TARLO_CCF_PERSISTDATA", dump(text));
}

TEST_CASE_FIXTURE(Examples, "The documentation shows the Entries document") {
    REQUIRE(CDataObject::SetCFTextData(*data, "abc", -1) == S_OK);
    ATL::CComPtr<IXMLDOMDocument2> document;
    REQUIRE(CDataObject::createXMLFromIDataObject(*data, &document) == S_OK);
    ATL::CComBSTR xml;
    REQUIRE(document->get_xml(&xml) == S_OK);
    const std::wstring wide = testsupport::contentsOf(xml);
    CHECK(compact(shownBelow("createXMLFromIDataObject(object, &document)")) ==
          compact(std::string(wide.begin(), wide.end())));
}
