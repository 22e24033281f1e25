#include "samples/clipboard_view/Portfolio.h"

using OrvexClipboard::FormatXML;

namespace {

Portfolio::Instrument readInstrument(FormatXML& document) {
    Portfolio::Instrument instrument;
    document.getInstrument_ItemCode(instrument.itemCode);
    document.getInstrument_Keyletter(instrument.keyLetter);
    while (document.getField()) {
        std::wstring name, id;
        document.getField_Name(name);
        if (document.getField_FID(id)) name += L":" + id;
        instrument.fields.push_back(name);
    }
    return instrument;
}

}  // namespace

Portfolio readPortfolio(FormatXML& document) {
    Portfolio portfolio;
    while (document.getPortfolio()) {
        std::wstring name;
        document.getPortfolio_PortfolioId(name);
        portfolio.names.push_back(name);
    }
    while (document.getInstrument()) portfolio.instruments.push_back(readInstrument(document));
    return portfolio;
}

Decoded decodedOf(const Portfolio& portfolio) {
    Decoded decoded{L"instruments", {}, {{L"ItemCode", L"KeyLetter", L"Fields"}}};
    for (const std::wstring& name : portfolio.names) decoded.lines.push_back(L"Portfolio " + name);
    for (const Portfolio::Instrument& instrument : portfolio.instruments) {
        std::wstring fields;
        for (const std::wstring& field : instrument.fields)
            fields += (fields.empty() ? L"" : L" ") + field;
        decoded.table.push_back({instrument.itemCode, instrument.keyLetter, fields});
    }
    return decoded;
}
