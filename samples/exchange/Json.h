#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardPrograms.h"

/// Converts a string to a JSON string in double quotation marks.
std::wstring jsonOf(const std::wstring& text);
/// Converts strings to a JSON array of strings.
std::wstring jsonOf(const std::vector<std::wstring>& texts);
/// Returns a JSON object with the name and the process identifier of a program. Returns "null" if
/// `program.process` is 0.
std::wstring jsonOf(const Program& program);

/// Returns a JSON array. `values` contains the JSON text of the elements. Each element is on its
/// own line.
std::wstring jsonArray(const std::vector<std::wstring>& values);
