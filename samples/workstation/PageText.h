#pragma once

#include <string>

/// Returns the text of an HTML page. Removes tags, empty lines and lines that contain only tags.
/// Lines end in CRLF, as edit controls require.
std::wstring textOfPage(const std::string& page);
