#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardFormats.h"

// Reads the clipboard and never changes it. Call these functions on a thread of class Background.

enum class ReadFailure {
    kBusy,      ///< another program has the clipboard open
    kMissing,   ///< the clipboard does not offer the format, or not any more
    kNoBytes,   ///< the format is a handle of a bitmap, for example
    kTooLarge,  ///< more than 256 MB
    kRefused    ///< the owner or the system does not deliver the data
};

/// The formats on the clipboard.
/// @throws ReadFailure
std::vector<ClipboardFormat> readFormats();

/// The bytes of a format: its whole memory block. Data that its owner stores as a stream is such a
/// block on the clipboard.
/// @throws ReadFailure
std::string readBytes(unsigned format);
