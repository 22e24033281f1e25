#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardFormats.h"

// The clipboard for commands that look at it. What may block is read on a thread of its own. If
// another program keeps it waiting, a Failure is thrown: kClipboardBusy after 500 ms, kNotDelivered
// after 5 seconds.

/// The formats that the clipboard's owner offers.
std::vector<ClipboardFormat> formatsOnClipboard();

/// The format of a name, in upper or lower case, or of a decimal number, among those of the owner
/// and those that the system makes of them.
/// @throws Failure with kNothingToPaste if there is no such format.
unsigned findFormat(const std::wstring& nameOrNumber);

/// The bytes of a format.
/// @throws Failure with kRefused for a format that has none.
std::string bytesOf(unsigned format);
