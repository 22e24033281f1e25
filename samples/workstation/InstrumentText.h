#pragma once

#include <string>

#include "samples/workstation/Instrument.h"

// Functions that convert instruments to and from plain text. Each line contains the code, type,
// feed and fields of an instrument, separated by tabs.

std::wstring writeText(const Instruments& instruments);

/// Reads an instrument from each line. The code of the instrument is the text before the first tab,
/// and the remainder of the line is ignored. Lines without a code are skipped.
Instruments readText(const std::wstring& text);

/// Returns the fields as text, for example "Last=84.12; Bid=?". A question mark represents a
/// missing value.
std::wstring textOf(const std::vector<Field>& fields);
