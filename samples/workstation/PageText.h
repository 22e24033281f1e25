#pragma once

#include <string>

/// The text of an HTML page in UTF-8: its lines without tags, those that hold nothing else left
/// out. Line ends are CRLF, as edit controls want them.
std::wstring textOfPage(const std::string& page);
