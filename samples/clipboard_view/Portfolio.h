#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/clipboard_view/Decoding.h"

/// The portfolios and instruments that FormatXML reads from a document.
struct Portfolio {
    struct Instrument {
        std::wstring itemCode, keyLetter;
        std::vector<std::wstring> fields;  ///< each field as NAME or NAME:ID
    };

    std::vector<std::wstring> names;
    std::vector<Instrument> instruments;
};

/// Reads an imported document to its end. A second call for the same document returns an empty
/// portfolio, because the cursors of the document remain at the end.
Portfolio readPortfolio(OrvexClipboard::FormatXML& document);

/// Returns a line for each portfolio name, and a table row for each instrument.
Decoded decodedOf(const Portfolio& portfolio);
