#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The bytes of a file.
/// @throws Failure with kBadFile when it cannot be read or is larger than 64 MB.
std::string readFile(const std::wstring& path);

/// The same for a file of narrow text, without its UTF-8 byte order mark.
/// @throws Failure with kBadFile also for a NUL, at which every reader of clipboard text would
/// stop.
std::string readTextFile(const std::wstring& path);

/// Nothing for bytes that are not UTF-8.
std::optional<std::wstring> decodeUtf8(std::string_view bytes);

/// Converts narrow text of other programs: UTF-8 if it is valid, otherwise the system's ANSI code
/// page.
std::wstring decodeNarrow(std::string_view bytes);
