#pragma once

#include <string>

/// The text of an HTML page in UTF-8: its lines without tags, and without lines that contain only
/// tags. Line ends are CRLF, which edit controls need.
std::wstring textOfPage(const std::string& page);
