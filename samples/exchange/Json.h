#pragma once

#include <string>
#include <vector>

#include "samples/clipboard_view/ClipboardPrograms.h"

/// A string in quotes.
std::wstring jsonOf(const std::wstring& text);
/// An array of strings.
std::wstring jsonOf(const std::vector<std::wstring>& texts);
/// An object with the name and the process of a program, or null.
std::wstring jsonOf(const Program& program);

/// An array of values that are JSON already, one on each line.
std::wstring jsonArray(const std::vector<std::wstring>& values);
