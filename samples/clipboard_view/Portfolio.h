#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/clipboard_view/Decoding.h"

/// Portfolios and instruments, as FormatXML reads them.
struct Portfolio {
    struct Instrument {
        std::wstring itemCode, keyLetter;
        std::vector<std::wstring> fields;  ///< NAME or NAME:ID
    };

    std::vector<std::wstring> names;
    std::vector<Instrument> instruments;
};

/// Reads an imported document. A second call for it finds nothing: the cursors stay at the end.
Portfolio readPortfolio(OrvexClipboard::FormatXML& document);

/// A line for each name and a row for each instrument.
Decoded decodedOf(const Portfolio& portfolio);
