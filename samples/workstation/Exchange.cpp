#include "samples/workstation/Exchange.h"

#include <algorithm>
#include <array>
#include <memory>

#include "samples/exchange/CopyProcess.h"
#include "samples/workstation/InstrumentDocument.h"
#include "samples/workstation/InstrumentText.h"
#include "samples/workstation/InstrumentWorkbook.h"

using namespace OrvexClipboard;

namespace {

constexpr int kAttempts = 10;
constexpr DWORD kPauseMilliseconds = 50;

/// The forms, from the one that says most to the one that says least.
std::array<unsigned, 4> formats() {
    return {FormatXML::GetClipboardID(), FormatXML4Spdsheet::GetClipboardID(),
            FormatSym::GetClipboardID(), CF_UNICODETEXT};
}

std::optional<Instruments> takeDocument(IDataObject& object) {
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (FormatXML::ImportData(object, &document) != S_OK) return std::nullopt;
    return readDocument(*document);
}

std::optional<Instruments> takeWorkbook(IDataObject& object) {
    FormatXML4Spdsheet workbook;
    if (FormatXML4Spdsheet::ImportData(object, workbook) != S_OK) return std::nullopt;
    return readWorkbook(workbook);
}

std::optional<Instruments> takeCode(IDataObject& object) {
    Instrument instrument;
    instrument.source = Instrument::Source::kCode;
    if (FormatSym::ImportData(object, true, instrument.type, instrument.code) != S_OK)
        return std::nullopt;
    return Instruments{instrument};
}

std::optional<Instruments> takeText(IDataObject& object) {
    wchar_t* text = nullptr;
    if (CDataObject::QueryTextData(object, CF_UNICODETEXT, &text, nullptr) != S_OK)
        return std::nullopt;
    const std::unique_ptr<wchar_t[]> owner(text);
    return readText(text);
}

}  // namespace

ATL::CComPtr<IDataObject> offer(const Instruments& instruments,
                                const std::vector<std::wstring>& titles) {
    FormatXML document;
    FormatXML4Spdsheet workbook;
    ATL::CComPtr<IDataObject> object;
    if (instruments.empty() || CDataObject::CreateInstance(&object) != S_OK ||
        !writeDocument(instruments, document) || FormatXML::ExportData(*object, document) != S_OK ||
        !writeWorkbook(instruments, titles, workbook) ||
        FormatXML4Spdsheet::ExportData(*object, workbook) != S_OK)
        return nullptr;
    // A code without a type has no record; its plain text follows with that of the others.
    const Instrument& first = instruments.front();
    if (!first.type.empty() && FormatSym::ExportData(*object, true, first.type, first.code) != S_OK)
        return nullptr;
    if (CDataObject::SetCFUnicodeTextData(*object, writeText(instruments).c_str(), -1) != S_OK)
        return nullptr;
    return object;
}

bool copy(const Instruments& instruments, const std::vector<std::wstring>& titles) {
    const CopyProcess copyProcess;
    const ATL::CComPtr<IDataObject> object = offer(instruments, titles);
    if (!object) return false;
    // Other programs open the clipboard, too, but for a moment only.
    HRESULT hr = ::OleSetClipboard(object);
    for (int i = 1; i < kAttempts && hr == CLIPBRD_E_CANT_OPEN; ++i) {
        ::Sleep(kPauseMilliseconds);
        hr = ::OleSetClipboard(object);
    }
    return hr == S_OK;
}

bool offersInstruments(IDataObject& object) {
    return std::ranges::any_of(formats(), [&object](unsigned format) {
        return CDataObject::AcceptHGLOBALData(object, format) == S_OK;
    });
}

bool clipboardOffersInstruments() {
    return std::ranges::any_of(formats(), ::IsClipboardFormatAvailable);
}

std::optional<Instruments> take(IDataObject& object) {
    for (const auto form : {takeDocument, takeWorkbook, takeCode, takeText})
        if (auto instruments = form(object); instruments && !instruments->empty())
            return instruments;
    return std::nullopt;
}

ATL::CComPtr<IDataObject> snapshot(IDataObject& object) {
    ATL::CComPtr<IDataObject> copy;
    if (CDataObject::CreateInstance(&copy) != S_OK) return nullptr;
    for (const unsigned format : formats())
        CDataObject::CopyData(object, *copy, static_cast<unsigned short>(format));
    return copy;
}
