#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardFormats.h"

// Functions for commands that only read the clipboard. Reads that may block run on a background
// thread. The functions throw a Failure with kClipboardBusy if another program has the clipboard
// open for more than 500 ms. They throw a Failure with kNotDelivered if the data is not delivered
// within 5 seconds.

/// Returns the formats that the owner of the clipboard offers.
std::vector<ClipboardFormat> formatsOnClipboard();

/// Finds a format on the clipboard by its name (case-insensitive) or by its decimal number. Also
/// finds formats that the system synthesizes from the owner's formats.
/// @throws Failure with kNothingToPaste if there is no such format.
unsigned findFormat(const std::wstring& nameOrNumber);

/// Returns the bytes that the clipboard stores for a format.
/// @throws Failure with kRefused if the data is not stored as bytes.
std::string bytesOf(unsigned format);
