#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The plain text of rich text, for programs that read nothing else: paragraphs, tabs and
/// characters, without tables, pictures, headers and notes. Nothing for text that is not RTF.
std::optional<std::wstring> plainTextOfRtf(std::string_view rtf);
