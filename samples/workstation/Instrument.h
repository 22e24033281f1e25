#pragma once

#include <string>
#include <vector>

/// A field of an instrument. Without a value it is a request for one.
struct Field {
    std::wstring name, id, value;
};

struct Instrument {
    /// The format in which an instrument was received.
    enum class Source { kSample, kDocument, kRequest, kCode, kText };

    std::wstring code, type, feed;
    std::vector<Field> fields;
    Source source = Source::kSample;
};

using Instruments = std::vector<Instrument>;
