#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardFormats.h"

// Functions that read the clipboard and never change it. Call them on the thread of a Background
// object.

enum class ReadFailure {
    kBusy,      ///< another program has the clipboard open
    kMissing,   ///< the clipboard does not offer the format
    kNoBytes,   ///< the data is not stored as bytes but, for example, as a bitmap
    kTooLarge,  ///< the data is larger than 256 MB
    kRefused    ///< the owner or the system does not deliver the data
};

/// Returns the formats on the clipboard.
/// @throws ReadFailure
std::vector<ClipboardFormat> readFormats();

/// Returns all bytes that the clipboard stores for a format. If the owner provides the data as a
/// stream, the system first copies the data to a memory block.
/// @throws ReadFailure
std::string readBytes(unsigned format);
