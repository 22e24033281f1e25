#pragma once

#include <string>
#include <vector>

/// A field of an instrument. A field without a value is a request for the value.
struct Field {
    std::wstring name, id, value;
};

struct Instrument {
    enum class Source { kSample, kDocument, kRequest, kCode, kText };

    std::wstring code, type, feed;
    std::vector<Field> fields;
    Source source = Source::kSample;
};

using Instruments = std::vector<Instrument>;
