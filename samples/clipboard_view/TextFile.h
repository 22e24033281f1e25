#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Returns the bytes of a file.
/// @throws Failure with kBadFile if the file cannot be read or is larger than 64 MB.
std::string readFile(const std::wstring& path);

/// Returns the bytes of a text file, without a UTF-8 byte order mark.
/// @throws Failure with kBadFile under the same conditions as readFile(), and also if the file
///         contains a NUL. Programs that read text from the clipboard would stop at the NUL.
std::string readTextFile(const std::wstring& path);

/// Decodes UTF-8. Returns std::nullopt if the bytes are not valid UTF-8.
std::optional<std::wstring> decodeUtf8(std::string_view bytes);

/// Converts narrow text to wide text. Valid UTF-8 is converted from UTF-8, and any other text is
/// converted from the system's ANSI code page.
std::wstring decodeNarrow(std::string_view bytes);
