#include "samples/clipboard_view/Decoding.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "samples/clipboard_view/HexDump.h"
#include "samples/clipboard_view/IndentedXml.h"
#include "samples/clipboard_view/Portfolio.h"
#include "samples/clipboard_view/Table.h"
#include "samples/clipboard_view/TextFile.h"
#include "samples/clipboard_view/WorkbookTable.h"

using namespace OrvexClipboard;

namespace {

/// Data in a clipboard format, as bytes and in a data object. The format classes can read only from
/// a data object.
struct Payload {
    std::string_view bytes;
    IDataObject& object;
    std::size_t maxLines;  ///< the maximum number of lines to decode
};

std::wstring withoutControls(std::wstring line) {
    std::ranges::replace_if(
        line, [](wchar_t c) { return (c < L' ' && c != L'\t') || (c >= 0x7F && c < 0xA0); }, L'.');
    return line;
}

/// Splits text into lines. Lines after the first `maxLines` lines are only counted, because a long
/// text can have many more lines than are shown.
Decoded decodedText(std::wstring_view text, std::size_t maxLines) {
    Decoded decoded;
    decoded.kind = L"text";
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(L"\r\n"), text.size());
        if (decoded.lines.size() < maxLines)
            decoded.lines.emplace_back(text.substr(0, end));
        else
            ++decoded.omittedLines;
        text.remove_prefix(end);
        if (!text.empty()) text.remove_prefix(text.starts_with(L"\r\n") ? 2 : 1);
    }
    return decoded;
}

std::optional<Decoded> decodeWideText(const Payload& payload) {
    std::wstring text(payload.bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), payload.bytes.data(), text.size() * sizeof(wchar_t));
    return decodedText(std::wstring_view(text).substr(0, text.find(L'\0')), payload.maxLines);
}

std::optional<Decoded> decodeNarrowText(const Payload& payload) {
    return decodedText(decodeNarrow(payload.bytes.substr(0, payload.bytes.find('\0'))),
                       payload.maxLines);
}

std::optional<Decoded> decodeCode(const Payload& payload) {
    std::wstring type, code;
    if (FormatSym::ImportData(payload.object, true, type, code) != S_OK) return std::nullopt;
    return Decoded{L"code", {}, {{L"Code", L"Type"}, {code, type}}};
}

/// Decodes an XML document. `Format` is the format class that imports the document.
template <class Format>
std::optional<Decoded> decodeDocument(const Payload& payload) {
    ATL::CComPtr<IXMLDOMDocument2> document;
    ATL::CComBSTR xml;
    if (Format::ImportData(payload.object, &document) != S_OK || document->get_xml(&xml) != S_OK)
        return std::nullopt;
    return Decoded{L"document", indentXml({xml, xml.Length()}), {}};
}

template <class Format>
std::optional<Decoded> decodeInstruments(const Payload& payload) {
    FormatXML document;
    if (Format::ImportData(payload.object, document) != S_OK) return std::nullopt;
    const Portfolio portfolio = readPortfolio(document);
    if (portfolio.names.empty() && portfolio.instruments.empty()) return std::nullopt;
    return decodedOf(portfolio);
}

std::optional<Decoded> decodeInstrumentDocument(const Payload& payload) {
    auto instruments = decodeInstruments<FormatXML>(payload);
    return instruments ? instruments : decodeDocument<FormatXML>(payload);
}

std::optional<Decoded> decodeSpreadsheet(const Payload& payload) {
    return decodeWorkbook(payload.object);
}

using Decoder = std::optional<Decoded> (*)(const Payload&);

/// Returns the decoder for a format, or null if data in this format is shown as a hex dump.
Decoder decoderOf(unsigned format) {
    const std::pair<unsigned, Decoder> decoders[] = {
        {CF_UNICODETEXT, decodeWideText},
        {CF_TEXT, decodeNarrowText},
        {FormatRTF::GetClipboardID(), decodeNarrowText},
        {FormatCSV::GetClipboardID(), decodeNarrowText},
        {::RegisterClipboardFormatW(L"HTML Format"), decodeNarrowText},
        {FormatSym::GetClipboardID(), decodeCode},
        {FormatXML::GetClipboardID(), decodeInstrumentDocument},
        {FormatSymFid::GetClipboardID(), decodeInstruments<FormatSymFid>},
        {FormatXML4Spdsheet::GetClipboardID(), decodeSpreadsheet},
        {FormatObjectContext::GetClipboardID(), decodeDocument<FormatObjectContext>},
        {FormatObjectArchive::GetClipboardID(), decodeDocument<FormatObjectArchive>},
        {FormatCCFPersistData::GetClipboardID(), decodeDocument<FormatCCFPersistData>}};
    for (const auto& [number, decoder] : decoders)
        if (number == format) return decoder;
    return nullptr;
}

/// Returns a hex dump of at most `maxLines` lines. Only the bytes for these lines are converted,
/// because a hex dump is much larger than its input.
Decoded decodedBytes(std::string_view bytes, std::size_t maxLines) {
    const std::size_t lines = (bytes.size() + kBytesPerLine - 1) / kBytesPerLine;
    const std::size_t shown = std::min(lines, maxLines);
    return {L"bytes", hexDump(bytes.substr(0, shown * kBytesPerLine)), {}, lines - shown};
}

/// Keeps at most `maxLines` lines and rows in total. If there are more, removes rows from the end
/// first, and then lines.
void truncate(Decoded& decoded, std::size_t maxLines) {
    const auto keep = [&decoded](auto& items, std::size_t count) {
        if (items.size() <= count) return;
        decoded.omittedLines += items.size() - count;
        items.resize(count);
    };
    keep(decoded.lines, maxLines);
    keep(decoded.table, maxLines - decoded.lines.size());
}

}  // namespace

Decoded decode(unsigned format, const std::string& bytes, std::size_t maxLines) {
    const Decoder decoder = decoderOf(format);
    std::optional<Decoded> readable;
    if (decoder) {
        const ATL::CComPtr<IDataObject> object = objectWith(format, bytes);
        if (object) readable = decoder({bytes, *object, maxLines});
    }
    Decoded decoded = readable ? std::move(*readable) : decodedBytes(bytes, maxLines);
    decoded.isReadable = readable || !decoder;
    truncate(decoded, maxLines);
    std::ranges::transform(decoded.lines, decoded.lines.begin(), withoutControls);
    for (auto& row : decoded.table) std::ranges::transform(row, row.begin(), withoutControls);
    return decoded;
}

std::vector<std::wstring> linesOf(const Decoded& decoded) {
    std::vector<std::wstring> lines = decoded.lines;
    Table table;
    for (const auto& row : decoded.table) table.add(row);
    std::ranges::move(table.lines(), std::back_inserter(lines));
    return lines;
}

ATL::CComPtr<IDataObject> objectWith(unsigned format, const std::string& bytes) {
    ATL::CComPtr<IDataObject> object;
    // The block does not end in an additional NUL. MSXML reads a document from a stream that is as
    // long as the block, and a NUL after a document is not well-formed XML. The library's functions
    // that read text add a NUL. If there are no bytes, the block contains one NUL, because an empty
    // block cannot be locked.
    const HGLOBAL block = ::GlobalAlloc(GHND, std::max<std::size_t>(bytes.size(), 1));
    if (void* const memory = block ? ::GlobalLock(block) : nullptr) {
        std::memcpy(memory, bytes.data(), bytes.size());
        ::GlobalUnlock(block);
        if (CDataObject::CreateInstance(&object) == S_OK &&
            CDataObject::SetHGLOBALData(*object, format, block, TRUE) == S_OK)
            return object;
    }
    ::GlobalFree(block);
    return nullptr;
}
