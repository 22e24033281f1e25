#include "samples/exchange/Copying.h"

#include "samples/clipboard_view/TextFile.h"
#include "samples/exchange/CsvFile.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/PortfolioFile.h"
#include "samples/exchange/RtfText.h"
#include "samples/exchange/XmlFile.h"

using namespace OrvexClipboard;

namespace {

void require(HRESULT hr) {
    if (hr != S_OK) throw Failure{kRefused, L"the data object refused the data"};
}

/// Stores plain text as CF_UNICODETEXT and CF_TEXT.
void putText(IDataObject& object, const std::wstring& text) {
    require(CDataObject::SetCFUnicodeTextData(object, text.c_str(), -1));
}

void putCode(IDataObject& object, const std::wstring& type, const std::wstring& code) {
    require(FormatSym::ExportData(object, false, type, code));  // stores a record and plain text
}

void putRtf(IDataObject& object, const std::wstring& path) {
    const std::string rtf = readTextFile(path);
    const std::optional<std::wstring> plain = plainTextOfRtf(rtf);
    if (!plain) throw Failure{kBadFile, path + L": is not RTF"};
    require(FormatRTF::ExportData(object, rtf.data(), rtf.size()));
    putText(object, *plain);
}

/// Stores the CSV bytes as narrow text, because the library has no function that writes CSV.
void putCsv(IDataObject& object, const std::wstring& path) {
    const std::string csv = readTextFile(path);
    require(CDataObject::SetTextData(object, FormatCSV::GetClipboardID(), csv.c_str(),
                                     static_cast<int>(csv.size())));
    putText(object, decodeNarrow(csv));
}

void putXml(IDataObject& object, const std::wstring& path) {
    const ATL::CComPtr<IXMLDOMDocument2> document = readXmlFile(path);
    require(FormatXML::ExportData(object, *document));
    putText(object, textOf(*document));
}

/// Stores the portfolio in four formats, for programs that read instruments, selections of fields,
/// workbooks, or text.
void putPortfolio(IDataObject& object, const std::wstring& path) {
    const CsvFile file(path);
    FormatXML document;
    writePortfolio(file, document);
    require(FormatXML::ExportData(object, document));
    require(FormatSymFid::ExportData(object, document));
    FormatXML4Spdsheet workbook;
    writeWorkbook(file, workbook);
    require(FormatXML4Spdsheet::ExportData(object, workbook));
    putText(object, decodeNarrow(readTextFile(path)));
}

}  // namespace

void copy(Clipboard& clipboard, const Options& options) {
    clipboard.copy([&options](IDataObject& object) {
        switch (options.kind) {
            case Kind::text:
                return putText(object, options.argument);
            case Kind::code:
                return putCode(object, options.type, options.argument);
            case Kind::rtf:
                return putRtf(object, options.argument);
            case Kind::csv:
                return putCsv(object, options.argument);
            case Kind::xml:
                return putXml(object, options.argument);
            case Kind::portfolio:
                return putPortfolio(object, options.argument);
        }
    });
}
