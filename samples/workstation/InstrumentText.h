#pragma once

#include <string>

#include "samples/workstation/Instrument.h"

// Instruments as plain text: a line for each, with tabs between code, type, feed and fields.

std::wstring writeText(const Instruments& instruments);

/// The text of each line up to its first tab is read as a code.
Instruments readText(const std::wstring& text);

/// "Last=84.12; Bid=?", the latter a request.
std::wstring textOf(const std::vector<Field>& fields);
