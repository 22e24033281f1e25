#pragma once
// A fixture and XML fragments for the tests that read instrument documents.
#include <initializer_list>
#include <string>

#include "tests/formats/InstrumentDocument.h"

struct Read {
    testsupport::Apartment apartment;
    OrvexClipboard::FormatXML document;

    void import(const std::wstring& xml) { REQUIRE(document.importFromString(xml)); }
    void importInstruments(const std::wstring& instruments) {
        import(L"<TarloData><Instruments>" + instruments + L"</Instruments></TarloData>");
    }
    void importPortfolios(const std::wstring& portfolios) {
        import(L"<TarloData><Portfolios>" + portfolios + L"</Portfolios></TarloData>");
    }
    std::wstring itemCode() {
        std::wstring text = kUntouched;
        document.getInstrument_ItemCode(text);
        return text;
    }
    std::wstring fieldId() {
        std::wstring text = kUntouched;
        document.getField_FID(text);
        return text;
    }
    std::wstring freeText() {
        std::wstring text = kUntouched;
        return document.getFreeText(text) ? text : L"(end)" + text;
    }
};

inline std::wstring instrument(const std::wstring& itemCode, const std::wstring& rest = {}) {
    return L"<Instrument><ItemCode>" + itemCode + L"</ItemCode>" + rest + L"</Instrument>";
}

inline std::wstring fields(std::initializer_list<const wchar_t*> ids) {
    std::wstring text = L"<Fields>";
    for (const wchar_t* id : ids)
        text += std::wstring(L"<Field><Value>v</Value><FID>") + id + L"</FID><Name>n" + id +
                L"</Name></Field>";
    return text + L"</Fields>";
}

inline std::wstring freeTexts(const std::wstring& inside) {
    return L"<FreeTexts>" + inside + L"</FreeTexts>";
}
