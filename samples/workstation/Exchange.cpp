#include "samples/workstation/Exchange.h"

#include <algorithm>
#include <array>
#include <memory>

#include "samples/clipboard_view/ClipboardAccess.h"
#include "samples/exchange/CopyProcess.h"
#include "samples/workstation/InstrumentDocument.h"
#include "samples/workstation/InstrumentText.h"
#include "samples/workstation/InstrumentWorkbook.h"

using namespace OrvexClipboard;

namespace {

std::optional<Instruments> importDocument(IDataObject& object) {
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (FormatXML::ImportData(object, &document) != S_OK) return std::nullopt;
    return readDocument(*document);
}

std::optional<Instruments> importWorkbook(IDataObject& object) {
    FormatXML4Spdsheet workbook;
    if (FormatXML4Spdsheet::ImportData(object, workbook) != S_OK) return std::nullopt;
    return readWorkbook(workbook);
}

std::optional<Instruments> importCode(IDataObject& object) {
    Instrument instrument;
    instrument.source = Instrument::Source::kCode;
    if (FormatSym::ImportData(object, true, instrument.type, instrument.code) != S_OK)
        return std::nullopt;
    return Instruments{instrument};
}

std::optional<Instruments> importText(IDataObject& object) {
    wchar_t* text = nullptr;
    if (CDataObject::QueryTextData(object, CF_UNICODETEXT, &text, nullptr) != S_OK)
        return std::nullopt;
    const std::unique_ptr<wchar_t[]> owner(text);
    return readText(text);
}

/// A clipboard format, and the function that reads instruments in this format.
struct ReadableFormat {
    unsigned id;
    std::optional<Instruments> (*importInstruments)(IDataObject&);
};

/// Returns the formats in order of preference. The format that contains the most information is
/// first.
std::array<ReadableFormat, 4> readableFormats() {
    return {ReadableFormat{FormatXML::GetClipboardID(), importDocument},
            ReadableFormat{FormatXML4Spdsheet::GetClipboardID(), importWorkbook},
            ReadableFormat{FormatSym::GetClipboardID(), importCode},
            ReadableFormat{CF_UNICODETEXT, importText}};
}

}  // namespace

ATL::CComPtr<IDataObject> createDataObject(const Instruments& instruments,
                                           const std::vector<std::wstring>& titles) {
    FormatXML document;
    FormatXML4Spdsheet workbook;
    ATL::CComPtr<IDataObject> object;
    if (instruments.empty() || CDataObject::CreateInstance(&object) != S_OK ||
        !writeDocument(instruments, document) || FormatXML::ExportData(*object, document) != S_OK ||
        !writeWorkbook(instruments, titles, workbook) ||
        FormatXML4Spdsheet::ExportData(*object, workbook) != S_OK)
        return nullptr;
    // The record format requires a type, so a code without a type is not stored as a record.
    const Instrument& first = instruments.front();
    if (!first.type.empty() && FormatSym::ExportData(*object, true, first.type, first.code) != S_OK)
        return nullptr;
    if (CDataObject::SetCFUnicodeTextData(*object, writeText(instruments).c_str(), -1) != S_OK)
        return nullptr;
    return object;
}

bool copy(const Instruments& instruments, const std::vector<std::wstring>& titles) {
    const CopyProcess copyProcess;
    const ATL::CComPtr<IDataObject> object = createDataObject(instruments, titles);
    if (!object) return false;
    return retryWhileClipboardIsBusy([&] { return ::OleSetClipboard(object); }) == S_OK;
}

bool offersInstruments(IDataObject& object) {
    return std::ranges::any_of(readableFormats(), [&object](const ReadableFormat& format) {
        return CDataObject::AcceptHGLOBALData(object, format.id) == S_OK;
    });
}

bool clipboardOffersInstruments() {
    return std::ranges::any_of(readableFormats(), [](const ReadableFormat& format) {
        return ::IsClipboardFormatAvailable(format.id);
    });
}

std::optional<Instruments> importInstruments(IDataObject& object) {
    for (const ReadableFormat& format : readableFormats())
        if (auto instruments = format.importInstruments(object);
            instruments && !instruments->empty())
            return instruments;
    return std::nullopt;
}

std::optional<Instruments> importFromClipboard(IDataObject& object) {
    for (const ReadableFormat& format : readableFormats()) {
        if (!::IsClipboardFormatAvailable(format.id)) continue;
        std::optional<Instruments> instruments;
        const HRESULT hr = retryWhileClipboardIsBusy([&] {
            instruments = format.importInstruments(object);
            return instruments && !instruments->empty() ? S_OK : CLIPBRD_E_CANT_OPEN;
        });
        if (hr == S_OK) return instruments;
    }
    return std::nullopt;
}

ATL::CComPtr<IDataObject> snapshot(IDataObject& object) {
    ATL::CComPtr<IDataObject> copy;
    if (CDataObject::CreateInstance(&copy) != S_OK) return nullptr;
    for (const ReadableFormat& format : readableFormats())
        CDataObject::CopyData(object, *copy, static_cast<unsigned short>(format.id));
    return copy;
}
