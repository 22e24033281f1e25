#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Splits well-formed XML into lines and indents each line by the depth of its element. An element
/// without child elements is on a single line. White space between elements is removed.
std::vector<std::wstring> indentXml(std::wstring_view xml);
