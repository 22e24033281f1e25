#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Converts RTF to plain text, for programs that read only plain text. Keeps the characters, tabs
/// and paragraphs, and the text of table cells. Omits pictures, headers, footers and footnotes.
/// Returns std::nullopt if the text is not RTF.
std::optional<std::wstring> plainTextOfRtf(std::string_view rtf);
